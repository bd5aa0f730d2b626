// Acts when something takes too long. One thread watches one exchange at a time: a Guard arms the
// watchdog for the exchange that its scope holds. The action runs on the watchdog's thread; once a
// Guard is gone its action neither runs nor will.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "libconfig/base/Mutex.h"

namespace configctl {

class Watchdog {
 public:
  using Clock = std::chrono::steady_clock;
  using Action = std::function<void()>;

  explicit Watchdog(Clock::duration limit);
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  Clock::duration GetLimit() const { return _limit; }

  // REQUIRES: no other Guard of the same watchdog.
  class Guard {
   public:
    Guard(Watchdog& watchdog, Action action);
    ~Guard();
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

   private:
    Watchdog& _watchdog;
  };

 private:
  void Run();

  const Clock::duration _limit;

  qel::config::Mutex _mutex;
  qel::config::Condition _changed;
  Action _action LIBCONFIG_GUARDED_BY(_mutex);  // null while no exchange is watched
  Clock::time_point _deadline LIBCONFIG_GUARDED_BY(_mutex);
  bool _ending LIBCONFIG_GUARDED_BY(_mutex) = false;

  std::thread _thread;  // last, as it uses the rest
};

}  // namespace configctl
