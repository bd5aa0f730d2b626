// A mutex, its scoped lock and its condition variable, annotated so that clang checks who holds
// what.
//
// The library has two kinds of lock. Neither is recursive, and no listener, handler or factory is
// called with one held unless its interface says so.
//
//   Mutex      the cheapest lock, which a Condition can wait with.
//   Semaphore  (values/SemaphoreHelper.h) the lock of values, stores, listeners, factories and
//              connections: it names its failures, and a thread may give it back that did not
//              take it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "libconfig/base/ThreadAnnotations.h"

namespace qel::config {

class LIBCONFIG_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() LIBCONFIG_ACQUIRE() { _mutex.lock(); }
  void unlock() LIBCONFIG_RELEASE() { _mutex.unlock(); }
  bool try_lock() LIBCONFIG_TRY_ACQUIRE(true) { return _mutex.try_lock(); }

 private:
  std::mutex _mutex;
};

class LIBCONFIG_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) LIBCONFIG_ACQUIRE(mutex) : _mutex(mutex) { _mutex.lock(); }
  ~MutexLock() LIBCONFIG_RELEASE() { _mutex.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& _mutex;
};

class Condition {
 public:
  void Wait(Mutex& mutex) LIBCONFIG_REQUIRES(mutex) { _condition.wait(mutex); }

  // False when `deadline` passed first.
  bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point deadline)
      LIBCONFIG_REQUIRES(mutex) {
    return _condition.wait_until(mutex, deadline) == std::cv_status::no_timeout;
  }

  void Signal() { _condition.notify_one(); }
  void Broadcast() { _condition.notify_all(); }

 private:
  std::condition_variable_any _condition;
};

}  // namespace qel::config
