#include "libconfig/access/PosixMQExchange.h"

#include <time.h>

#include "libconfig/base/Diagnostics.h"

using qel::config::MutexLock;
using qel::config::QueueClock;

namespace {

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

PosixMQClient::Exchange::FactoryHold::FactoryHold(sem_t* semaphore, QueueClock::time_point deadline)
    : _semaphore(semaphore) {
  if (_semaphore == nullptr) return;
  const timespec end = ToMonotonic(deadline);
  while (::sem_clockwait(_semaphore, CLOCK_MONOTONIC, &end) != 0) {
    if (errno == EINTR) continue;
    if (errno == ETIMEDOUT) return;
    qel::config::ReportErrno("Semaphore(): call to sem_wait failed\n");
    break;
  }
  _held = true;
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
