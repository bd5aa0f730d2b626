// A queue client's exchanges with the daemon. Internal.
#pragma once

#include <cerrno>
#include <cstring>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/queue/PosixMQState.h"
#include "libconfig/values/SemaphoreHelper.h"

// One request and its answer, alone in the client while it exists, and in the factory, too, with
// the factory's semaphore. All waiting, for the others, too, ends at one time.
class PosixMQClient::Exchange {
 public:
  enum class Result { kAnswer, kNotSent, kNotReceived };

  // The semaphore may be null.
  Exchange(PosixMQClient& client, sem_t* semaphore)
      : Exchange(client, semaphore, client._patience) {}
  Exchange(PosixMQClient& client, sem_t* semaphore, std::chrono::milliseconds patience)
      : _client(client),
        _deadline(qel::config::QueueClock::now() + patience),
        _factory(semaphore, _deadline, client._state->leaving),
        _turn(client, _deadline) {}

  // Its thread may have been cancelled while it waited: the answer may still come.
  ~Exchange() {
    if (!_asking) return;
    _client._state->inbox.ExpectNothing();
    _client._state->inbox.Abandon(_requestID);
  }
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  // `length` bytes that begin with `request`. Where it fails errno says why.
  template <typename Request>
  Result Ask(const Request& request, std::size_t length, qel::config::QueueMessage& answer) {
    qel::config::QueueInbox& inbox = _client._state->inbox;
    const bool over = inbox.IsClosed() || _factory.IsAbandoned();
    if (over || !_factory.IsMine() || !_turn.IsMine()) {
      errno = over ? ECANCELED : ETIMEDOUT;
      return Result::kNotReceived;
    }
    inbox.Expect(request.requestID);
    _requestID = request.requestID;
    _asking = true;
    if (!qel::config::SendToQueue(_client._requestQueue, &request, length, _client._priority,
                                  _deadline)) {
      inbox.ExpectNothing();
      _asking = false;
      return Result::kNotSent;
    }
    const auto outcome = inbox.AwaitAnswer(answer, _deadline);
    const int saved = errno;
    _asking = false;
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
  // The semaphore from when it is had until the end. Once `abandoned` is set it is not waited for.
  class FactoryHold {
   public:
    FactoryHold(sem_t* semaphore, qel::config::QueueClock::time_point deadline,
                const std::atomic<bool>& abandoned);
    ~FactoryHold();
    FactoryHold(const FactoryHold&) = delete;
    FactoryHold& operator=(const FactoryHold&) = delete;

    bool IsMine() const { return _semaphore == nullptr || _held; }
    bool IsAbandoned() const { return _semaphore != nullptr && _abandoned; }

   private:
    sem_t* const _semaphore;
    const std::atomic<bool>& _abandoned;
    bool _held = false;
  };

  // The client's one exchange, whatever becomes of the semaphore.
  class Turn {
   public:
    Turn(PosixMQClient& client, qel::config::QueueClock::time_point deadline);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    bool IsMine() const { return _held; }

   private:
    PosixMQClient& _client;
    bool _held = false;
  };

  PosixMQClient& _client;
  const qel::config::QueueClock::time_point _deadline;
  const FactoryHold _factory;
  const Turn _turn;
  bool _asking = false;
  uint32_t _requestID = 0;
};
