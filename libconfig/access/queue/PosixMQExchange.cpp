#include "libconfig/access/queue/PosixMQExchange.h"

#include <time.h>

#include <algorithm>

#include "libconfig/base/Diagnostics.h"

using qel::config::MutexLock;
using qel::config::QueueClock;

namespace {

constexpr std::chrono::milliseconds kLook(50);

timespec ToMonotonic(QueueClock::time_point when) {
  const auto time = when.time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  timespec result;
  result.tv_sec = static_cast<time_t>(seconds.count());
  result.tv_nsec = static_cast<long>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(time - seconds).count());
  return result;
}

}  // namespace

// Nothing wakes one of those who wait for a semaphore and no other one, so that it looks up now and
// then: only a client that is handed back while another one's exchange goes on depends on that.
PosixMQClient::Exchange::FactoryHold::FactoryHold(sem_t* semaphore, QueueClock::time_point deadline,
                                                  const std::atomic<bool>& abandoned)
    : _semaphore(semaphore), _abandoned(abandoned) {
  if (_semaphore == nullptr) return;
  // Mostly it is free, and nobody needs to look at the time.
  _held = !_abandoned && ::sem_trywait(_semaphore) == 0;
  while (!_held && !_abandoned) {
    const auto now = QueueClock::now();
    const timespec end = ToMonotonic(std::min(deadline, now + kLook));
    if (::sem_clockwait(_semaphore, CLOCK_MONOTONIC, &end) == 0) {
      _held = true;
      return;
    }
    if (errno == EINTR) continue;
    if (errno == ETIMEDOUT) {
      if (now >= deadline) return;
      continue;
    }
    qel::config::ReportErrno("Semaphore(): call to sem_wait failed\n");
    _held = true;
    return;
  }
}

PosixMQClient::Exchange::FactoryHold::~FactoryHold() {
  if (_held) SemaphoreHelper::Post(_semaphore);
}

PosixMQClient::Exchange::Turn::Turn(PosixMQClient& client, QueueClock::time_point deadline)
    : _client(client) {
  State& state = *client._state;
  MutexLock lock(client._exchangeMutex);
  while (state.exchanging) {
    if (!state.exchangeEnded.WaitUntil(client._exchangeMutex, deadline) && state.exchanging) return;
  }
  state.exchanging = true;
  _held = true;
}

PosixMQClient::Exchange::Turn::~Turn() {
  if (!_held) return;
  MutexLock lock(_client._exchangeMutex);
  _client._state->exchanging = false;
  _client._state->exchangeEnded.Broadcast();
}
