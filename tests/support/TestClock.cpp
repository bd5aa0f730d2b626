#include "tests/support/TestClock.h"

#include <sys/time.h>

#include <atomic>

namespace {

std::atomic<long> g_microseconds{1000000000L * 1000000};

}  // namespace

namespace testing_support {

void SetClock(long seconds, long microseconds) {
  g_microseconds = seconds * 1000000 + microseconds;
}

void AdvanceClock(long milliseconds) { g_microseconds += milliseconds * 1000; }

}  // namespace testing_support

// Takes the place of the C library's in all that is linked into this program.
extern "C" int gettimeofday(timeval* now, void*) noexcept {
  const long microseconds = g_microseconds;
  now->tv_sec = microseconds / 1000000;
  now->tv_usec = microseconds % 1000000;
  return 0;
}
