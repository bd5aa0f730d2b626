// A thread that waits for work and does it in rounds. Whoever has work keeps it under a lock of its
// own and calls Wake; the round takes all of it. Internal.
//
//   class Saver {
//     void Note(Item item) { ...keep it...; _worker.WakeAt(Worker::Clock::now() + kGather); }
//     void Round() { ...take what is kept, save it... }
//     Worker _worker{[this] { Round(); }};  // the last member: it ends before the others
//   };
//
// Any thread may call, with its own locks held.
#pragma once

#include <signal.h>

#include <chrono>
#include <exception>
#include <functional>
#include <thread>
#include <utility>

#include "libconfig/base/Mutex.h"

namespace qel::config {

class Worker {
 public:
  using Clock = std::chrono::steady_clock;

  // Nothing is held while `round` is called. One that throws, for want of memory mostly, is called
  // again after a second.
  explicit Worker(std::function<void()> round) : _round(std::move(round)) {
    // Signals are the program's business.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
      _thread = std::thread([this] { Run(); });
    } catch (...) {
      ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
      throw;
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  }
  ~Worker() { Stop(); }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // Asks for a round now, or when the time has come; the earliest that was asked for counts. Asked
  // for during a round, another one follows.
  void Wake() { WakeAt(Clock::time_point::min()); }
  void WakeAt(Clock::time_point when) {
    MutexLock lock(_mutex);
    if (when >= _due) return;
    _due = when;
    _changed.Signal();
  }

  // A round that was asked for begins at once and is the last one; then the thread ends. Nothing is
  // done afterwards. Never from inside a round.
  void Stop() {
    {
      MutexLock lock(_mutex);
      _stopping = true;
      _changed.Signal();
    }
    if (_thread.joinable()) _thread.join();
  }
  // For the round: whether it is the last one.
  bool IsStopping() {
    MutexLock lock(_mutex);
    return _stopping;
  }

 private:
  static constexpr Clock::time_point kNever = Clock::time_point::max();

  void Run() {
    while (WaitForWork()) {
      try {
        _round();
      } catch (const std::exception&) {
        WakeAt(Clock::now() + std::chrono::seconds(1));
      }
    }
  }

  // False to end.
  bool WaitForWork() {
    MutexLock lock(_mutex);
    while (!_stopping && _due > Clock::now()) {
      if (_due == kNever) {
        _changed.Wait(_mutex);
      } else {
        _changed.WaitUntil(_mutex, _due);
      }
    }
    const bool work = _due != kNever && !_ending;
    _due = kNever;
    _ending = _stopping;
    return work;
  }

  const std::function<void()> _round;
  Mutex _mutex;
  Condition _changed;
  Clock::time_point _due LIBCONFIG_GUARDED_BY(_mutex) = kNever;
  bool _stopping LIBCONFIG_GUARDED_BY(_mutex) = false;
  bool _ending LIBCONFIG_GUARDED_BY(_mutex) = false;  // the last round has begun
  std::thread _thread;
};

}  // namespace qel::config
