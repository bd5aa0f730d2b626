// A queue client's exchanges with the daemon. Internal.
#pragma once

#include <cstring>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/PosixMQState.h"
#include "libconfig/values/SemaphoreHelper.h"

// One request and its answer, alone in the client while it exists, and in the factory, too, with
// the factory's semaphore. All waiting in it ends at one time.
class PosixMQClient::Exchange {
 public:
  enum class Result { kAnswer, kNotSent, kNotReceived };

  // The semaphore may be null.
  Exchange(PosixMQClient& client, sem_t* semaphore)
      : _client(client), _factory(semaphore), _alone(client._exchangeMutex) {}

  // `length` bytes that begin with `request`. Where it fails errno says why.
  template <typename Request>
  Result Ask(const Request& request, std::size_t length, qel::config::QueueMessage& answer) {
    return Ask(request, length, answer, _client._patience);
  }
  template <typename Request>
  Result Ask(const Request& request, std::size_t length, qel::config::QueueMessage& answer,
             std::chrono::milliseconds patience) {
    qel::config::QueueInbox& inbox = _client._state->inbox;
    const auto deadline = qel::config::QueueClock::now() + patience;
    inbox.Expect(request.requestID);
    if (!qel::config::SendToQueue(_client._requestQueue, &request, length, _client._priority,
                                  deadline)) {
      inbox.ExpectNothing();
      return Result::kNotSent;
    }
    const auto outcome = inbox.AwaitAnswer(answer, deadline);
    const int saved = errno;
    // The system may fail to start the thread of a notification, and says nothing of it.
    if (!_client._state->listeners.IsEmpty() && inbox.ClaimDrain() && !_client.DrainOnAThread()) {
      inbox.DisclaimDrain();
    }
    if (outcome != qel::config::QueueInbox::Outcome::kReady) {
      inbox.Abandon(request.requestID);
      errno = saved;
      return Result::kNotReceived;
    }
    ConnectionUtilities::Dump(&answer.record);
    return Result::kAnswer;
  }

  // Whether the answer is that of the request, with a message where it bears another's numbers. The
  // right one may still be on its way.
  template <typename Request>
  bool IsAnswered(const Request& request, const qel::config::QueueMessage& answer) {
    XCONFIGMGR_CONNECTION_REQUEST_T head;
    std::memcpy(&head, &request, sizeof head);
    if (answer.size >= sizeof answer.record && IsValidResponse(head, answer.record)) return true;
    if (answer.record.requestID != head.requestID) {
      _client._state->inbox.Abandon(head.requestID);
    }
    return false;
  }

 private:
  class OptionalHold {
   public:
    explicit OptionalHold(sem_t* semaphore) : _semaphore(semaphore) {
      if (_semaphore != nullptr) SemaphoreHelper::Wait(_semaphore);
    }
    ~OptionalHold() {
      if (_semaphore != nullptr) SemaphoreHelper::Post(_semaphore);
    }
    OptionalHold(const OptionalHold&) = delete;
    OptionalHold& operator=(const OptionalHold&) = delete;

   private:
    sem_t* const _semaphore;
  };

  PosixMQClient& _client;
  const OptionalHold _factory;
  const qel::config::MutexLock _alone;
};
