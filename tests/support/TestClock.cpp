#include "tests/support/TestClock.h"

#include <sys/time.h>

#include <cstdint>
#include <mutex>

namespace {

std::mutex g_mutex;
int64_t g_microseconds = INT64_C(1000000000) * 1000000;

}  // namespace

namespace testing_support {

void SetClock(long seconds, long microseconds) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  g_microseconds = int64_t{seconds} * 1000000 + microseconds;
}

void AdvanceClock(long milliseconds) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  g_microseconds += int64_t{milliseconds} * 1000;
}

}  // namespace testing_support

// Takes the place of the C library's in all that is linked into this program.
extern "C" int gettimeofday(timeval* now, void*) noexcept {
  const std::lock_guard<std::mutex> lock(g_mutex);
  now->tv_sec = static_cast<time_t>(g_microseconds / 1000000);
  now->tv_usec = static_cast<suseconds_t>(g_microseconds % 1000000);
  return 0;
}
