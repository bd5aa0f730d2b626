// How long a thread has been at one piece of work, for a watchdog. Any thread may ask. Internal.
#pragma once

#include <time.h>

#include <atomic>
#include <chrono>
#include <cstdint>

namespace qel::config {

// Milliseconds of the coarse clock, which costs nothing beside a request. In 32 bits, as the device
// has no larger atomics; the difference of two is right across a turn.
inline std::uint32_t CoarseMilliseconds() {
  timespec now = {};
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return static_cast<std::uint32_t>(now.tv_sec) * 1000 +
         static_cast<std::uint32_t>(now.tv_nsec / 1000000);
}

class BusyClock {
 public:
  // The thread works while it exists.
  class Work {
   public:
    explicit Work(BusyClock& clock) : _clock(clock) { _clock._since = Now(); }
    ~Work() { _clock._since = kIdle; }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

   private:
    BusyClock& _clock;
  };

  // 0 while it waits for work.
  std::chrono::milliseconds Get() const {
    const std::uint32_t since = _since;
    return std::chrono::milliseconds(since == kIdle ? 0 : Now() - since);
  }

 private:
  static constexpr std::uint32_t kIdle = 0;

  // Never the one of idleness.
  static std::uint32_t Now() { return CoarseMilliseconds() | 1; }

  std::atomic<std::uint32_t> _since{kIdle};
};

}  // namespace qel::config
