#include "configctl/Watchdog.h"

#include <utility>

using qel::config::MutexLock;

namespace configctl {

Watchdog::Watchdog(Clock::duration limit) : _limit(limit), _thread([this] { Run(); }) {}

Watchdog::~Watchdog() {
  {
    MutexLock lock(_mutex);
    _ending = true;
    _changed.Signal();
  }
  _thread.join();
}

void Watchdog::Run() {
  MutexLock lock(_mutex);
  while (!_ending) {
    if (!_action) {
      _changed.Wait(_mutex);
    } else if (Clock::now() < _deadline) {
      _changed.WaitUntil(_mutex, _deadline);
    } else {
      // With the lock held, so that the Guard's end waits for it.
      std::exchange(_action, nullptr)();
    }
  }
}

Watchdog::Guard::Guard(Watchdog& watchdog, Action action) : _watchdog(watchdog) {
  MutexLock lock(_watchdog._mutex);
  _watchdog._action = std::move(action);
  _watchdog._deadline = Clock::now() + _watchdog._limit;
  _watchdog._changed.Signal();
}

Watchdog::Guard::~Guard() {
  MutexLock lock(_watchdog._mutex);
  _watchdog._action = nullptr;
}

}  // namespace configctl
