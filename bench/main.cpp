// Measures what the library is held to, and prints each figure beside its limit. A figure that
// falls short is for people to weigh, as machines differ and others use them too: the program only
// fails when it could not measure.
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "bench/Figure.h"
#include "bench/Machine.h"
#include "bench/Report.h"
#include "libconfig/libconfig.h"

namespace {

using bench::AtLeastTimes;
using bench::AtMost;
using bench::AtMostTimes;
using bench::Unit;

constexpr bench::Figure kFigures[] = {
    {"in-process Get", Unit::kNanoseconds, AtMostTimes(3), "map lookup and semaphore pair",
     bench::MeasureGet},
    {"in-process Get, allocations", Unit::kCount, AtMost(0), "", bench::CountAllocationsOfGet},
    {"in-process Set, one listener", Unit::kNanoseconds, AtMostTimes(12),
     "map lookup and semaphore pair", bench::MeasureSet},
    {"in-process Set, allocations", Unit::kCount, AtMost(0), "", bench::CountAllocationsOfSet},
    {"TCP Get, two cores", Unit::kNanoseconds, AtMostTimes(1.10), "bare 40/44-byte ping-pong",
     bench::MeasureTcpGetOnTwoCores},
    {"TCP Get, one core", Unit::kNanoseconds, AtMostTimes(1.10), "bare 40/44-byte ping-pong",
     bench::MeasureTcpGetOnOneCore},
    {"UDP Get, two cores", Unit::kNanoseconds, AtMostTimes(1.10), "bare 40/44-byte datagrams",
     bench::MeasureUdpGetOnTwoCores},
    {"UDP Get, one core", Unit::kNanoseconds, AtMostTimes(1.10), "bare 40/44-byte datagrams",
     bench::MeasureUdpGetOnOneCore},
    {"queue Get, two cores", Unit::kNanoseconds, AtMostTimes(1.15), "bare 36/52-byte messages",
     bench::MeasureQueueGetOnTwoCores},
    {"queue Get, one core", Unit::kNanoseconds, AtMostTimes(1.15), "bare 36/52-byte messages",
     bench::MeasureQueueGetOnOneCore},
    {"queue Get, against TCP", Unit::kNanoseconds, AtMostTimes(1), "TCP Get, two cores",
     bench::MeasureQueueGetAgainstTcp},
    {"TCP Get, two cores, listening", Unit::kNanoseconds, AtMostTimes(1.3),
     "the same without a listener", bench::MeasureTcpGetWithListener},
    // The events thread reads, and hands the answer over: a switch of threads more.
    {"TCP Get, one core, listening", Unit::kNanoseconds, AtMostTimes(1.6),
     "the same without a listener", bench::MeasureTcpGetWithListenerOnOneCore},
    // The system starts a thread for each notification.
    {"queue Get, two cores, listening", Unit::kNanoseconds, AtMostTimes(1.9),
     "the same without a listener", bench::MeasureQueueGetWithListener},
    {"TCP Set, changes logged", Unit::kNanoseconds, AtMostTimes(1.15), "configd --quiet",
     bench::MeasureSetWithChangeLog},
    {"one change to 100 TCP watchers", Unit::kNanoseconds, AtMostTimes(1.3), "100 bare sends",
     bench::MeasureChangeToTcpWatchers},
    {"64 changes at once to 100 TCP watchers", Unit::kEventsPerSecond, AtLeastTimes(1.0 / 3),
     "100 bare sends of 64 records each", bench::MeasureEventsToTcpWatchers},
    {"one change to 100 multicast listeners", Unit::kNanoseconds, AtMostTimes(1.2),
     "one bare multicast send", bench::MeasureChangeToMulticastListeners},
    {"catalogue, first use", Unit::kNanoseconds, AtMost(2e6), "", bench::MeasureCatalogue},
    {"store, heap", Unit::kBytes, AtMost(64 * 1024), "", bench::MeasureStore},
};

constexpr char kUsage[] =
    "usage: bench [--only NAME] [--verbose]\n"
    "  --only NAME  the figures whose names contain NAME\n"
    "  --verbose    what the library has to say, too\n";

bool MeasureAndPrint(const bench::Figure& figure) {
  try {
    bench::PrintLine(figure, figure.measure());
    return true;
  } catch (const bench::Skipped& reason) {
    bench::PrintSkipped(figure, reason.what());
    return true;
  } catch (const std::exception& error) {
    bench::PrintFailure(figure, error.what());
    return false;
  }
}

// For the figures that are measured in a process of their own.
int MeasureHere(const char* what) {
  try {
    std::printf("%.17g\n", bench::MeasureHere(what));
    return 0;
  } catch (const std::exception&) {
    return 1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::string only;
  bool verbose = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) {
      only = argv[++i];
    } else if (std::strcmp(argv[i], "--here") == 0 && i + 1 < argc) {
      return MeasureHere(argv[++i]);
    } else if (std::strcmp(argv[i], "--verbose") == 0) {
      verbose = true;
    } else {
      const bool help = std::strcmp(argv[i], "--help") == 0;
      std::fputs(kUsage, help ? stdout : stderr);
      return help ? 0 : 2;
    }
  }
  if (!verbose) qel::config::SilenceMessages();
  std::printf("%s\n\n", bench::DescribeMachine().c_str());
  bench::PrintHead();
  bool measured = true;
  bool any = false;
  for (const bench::Figure& figure : kFigures) {
    if (std::string(figure.name).find(only) == std::string::npos) continue;
    any = true;
    measured = MeasureAndPrint(figure) && measured;
  }
  if (!any) std::printf("no figure's name contains \"%s\"\n", only.c_str());
  return any && measured ? 0 : 1;
}
