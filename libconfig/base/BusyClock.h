// How long a thread has been at one piece of work, for a watchdog. Any thread may ask. Internal.
#pragma once

#include <time.h>

#include <atomic>
#include <chrono>
#include <cstdint>

namespace qel::config {

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
    const std::int64_t since = _since;
    return std::chrono::milliseconds(since == kIdle ? 0 : Now() - since);
  }

 private:
  static constexpr std::int64_t kIdle = -1;

  // The coarse clock, which costs nothing beside a request.
  static std::int64_t Now() {
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
  }

  std::atomic<std::int64_t> _since{kIdle};
};

}  // namespace qel::config
