#include "bench/Report.h"

#include <cstdio>

namespace bench {
namespace {

constexpr char kLayout[] = "%-38s %11s %11s %6s %12s  %-11s  %s\n";

std::string Format(const char* format, double value) {
  char text[40];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string FormatTime(double nanoseconds) {
  if (nanoseconds < 1e3) return Format("%.1f ns", nanoseconds);
  if (nanoseconds < 1e6) return Format("%.2f us", nanoseconds / 1e3);
  return Format("%.2f ms", nanoseconds / 1e6);
}

std::string FormatValue(Unit unit, double value) {
  switch (unit) {
    case Unit::kNanoseconds:
      return FormatTime(value);
    case Unit::kBytes:
      return Format("%.1f KiB", value / 1024);
    case Unit::kEventsPerSecond:
      return Format("%.2f M/s", value / 1e6);
    case Unit::kCount:
      break;
  }
  return Format("%g", value);
}

std::string FormatLimit(const Figure& figure) {
  switch (figure.limit.kind) {
    case Limit::Kind::kAtMostTimes:
      return Format("<= %.2f", figure.limit.bound);
    case Limit::Kind::kAtLeastTimes:
      return Format(">= %.2f", figure.limit.bound);
    case Limit::Kind::kAtMost:
      break;
  }
  return "<= " + FormatValue(figure.unit, figure.limit.bound);
}

bool IsHeld(const Limit& limit, const Measurement& measured) {
  switch (limit.kind) {
    case Limit::Kind::kAtMostTimes:
      return measured.value <= limit.bound * measured.reference;
    case Limit::Kind::kAtLeastTimes:
      return measured.value >= limit.bound * measured.reference;
    case Limit::Kind::kAtMost:
      break;
  }
  return measured.value <= limit.bound;
}

// Against the reference, or the limit itself where it is absolute.
std::string FormatRatio(const Figure& figure, const Measurement& measured) {
  const bool absolute = figure.limit.kind == Limit::Kind::kAtMost;
  const double of = absolute ? figure.limit.bound : measured.reference;
  return of > 0 ? Format("%.2f", measured.value / of) : "-";
}

}  // namespace

void PrintHead() {
  std::printf(kLayout, "figure", "measured", "reference", "ratio", "limit", "", "reference is");
  std::fflush(stdout);
}

void PrintLine(const Figure& figure, const Measurement& measurement) {
  const bool absolute = figure.limit.kind == Limit::Kind::kAtMost;
  std::printf(kLayout, figure.name, FormatValue(figure.unit, measurement.value).c_str(),
              absolute ? "-" : FormatValue(figure.unit, measurement.reference).c_str(),
              FormatRatio(figure, measurement).c_str(), FormatLimit(figure).c_str(),
              IsHeld(figure.limit, measurement) ? "pass" : "FALLS SHORT", figure.against);
  std::fflush(stdout);
}

void PrintSkipped(const Figure& figure, const std::string& reason) {
  std::printf("%-38s skipped: %s\n", figure.name, reason.c_str());
  std::fflush(stdout);
}

void PrintFailure(const Figure& figure, const std::string& reason) {
  std::printf("%-38s not measured: %s\n", figure.name, reason.c_str());
  std::fflush(stdout);
}

}  // namespace bench
