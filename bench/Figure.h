// A figure: something that the library is held to, how it is measured, and the limit. main.cpp has
// the list.
#pragma once

#include <stdexcept>

namespace bench {

// What the machine does not offer at all cannot be held against anybody.
struct Skipped : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// In the unit of the figure. What nothing is measured against leaves `reference` at 0.
struct Measurement {
  double value = 0;
  double reference = 0;
};

enum class Unit { kNanoseconds, kBytes, kEventsPerSecond, kCount };

struct Limit {
  enum class Kind { kAtMostTimes, kAtLeastTimes, kAtMost };

  Kind kind;
  double bound;  // times the reference, or in the unit of the figure
};

constexpr Limit AtMostTimes(double factor) { return {Limit::Kind::kAtMostTimes, factor}; }
constexpr Limit AtLeastTimes(double factor) { return {Limit::Kind::kAtLeastTimes, factor}; }
constexpr Limit AtMost(double value) { return {Limit::Kind::kAtMost, value}; }

struct Figure {
  const char* name;
  Unit unit;
  Limit limit;
  const char* against;  // what the reference is, in a few words; empty when there is none
  // Throws std::exception, with the reason, where the machine does not allow it.
  Measurement (*measure)();
};

// InProcess.cpp
Measurement MeasureGet();
Measurement MeasureSet();
Measurement CountAllocationsOfGet();
Measurement CountAllocationsOfSet();

// RoundTrip.cpp
Measurement MeasureTcpGetOnTwoCores();
Measurement MeasureTcpGetOnOneCore();
Measurement MeasureTcpGetWithListener();
Measurement MeasureTcpGetWithListenerOnOneCore();
Measurement MeasureUdpGetOnTwoCores();
Measurement MeasureUdpGetOnOneCore();

// Queues.cpp
Measurement MeasureQueueGetOnTwoCores();
Measurement MeasureQueueGetOnOneCore();
Measurement MeasureQueueGetAgainstTcp();
Measurement MeasureQueueGetWithListener();

// ChangeLog.cpp
Measurement MeasureSetWithChangeLog();

// FanOut.cpp
Measurement MeasureChangeToTcpWatchers();
Measurement MeasureEventsToTcpWatchers();
Measurement MeasureChangeToMulticastListeners();

// Size.cpp. Measured in a new process each, which MeasureHere is the body of.
Measurement MeasureCatalogue();
Measurement MeasureStore();
double MeasureHere(const char* what);

}  // namespace bench
