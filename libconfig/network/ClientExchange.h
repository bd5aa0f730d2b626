// What the network clients share with their threads and exchanges. Internal.
#pragma once

#include <atomic>
#include <chrono>

#include "libconfig/access/ListenerList.h"
#include "libconfig/access/RecordExchange.h"
#include "libconfig/base/Limits.h"
#include "libconfig/network/NetworkClient.h"

namespace qel::vorlane::config::access {

// The clients' sockets have it as their receive time-out, too.
constexpr std::chrono::milliseconds kAnswerTime(qel::config::limits::kAnswerMs);

// What the events thread works on, although a listener may delete the client from inside its call.
struct NetworkClient::Events {
  explicit Events(std::unique_ptr<qel::config::RecordReader> reader) : records(std::move(reader)) {}

  qel::config::ListenerList listeners;
  qel::config::RecordExchange records;
  // The client was deleted on the events thread, which then touches nothing of it any more.
  std::atomic<bool> clientGone{false};
};

// The answer that an operation expects, and what it reports when it fails; null where it reports
// nothing. errno's text follows a reason.
struct NetworkClient::Operation {
  std::size_t answerSize;
  bool withStream;
  const char* notSentReason;
  const char* notSent;
  const char* timeout;  // shows port and process
  const char* failedReason;
  const char* failed;
  const char* refused = nullptr;  // shows the server's error
  const char* tooLong = nullptr;  // `failed` and its reason, too, where these two are null
  const char* streamCut = nullptr;
  const char* noStream = nullptr;  // shows the process
  const char* noText = nullptr;    // shows the value that came instead, and its length
};

// One request and its answer, alone on the connection while it exists.
class NetworkClient::Exchange {
 public:
  explicit Exchange(NetworkClient& client, std::chrono::milliseconds time = kAnswerTime)
      : _client(client), _turn(client._events->records, qel::config::After(time)) {}

  // Sends a request that has no answer. The system would take it even though the peer has closed.
  bool Send(const void* record, std::size_t length);

  // Sends a request, whose answer Receive waits for.
  template <typename Record>
  bool Request(const Operation& operation, const Record& record) {
    const bool sent = _turn.Expect({record.requestID, operation.answerSize, operation.withStream},
                                   [&] { return _client.SendRequest(&record, sizeof record); });
    if (!sent) Say(operation.notSentReason, operation.notSent);
    return sent;
  }
  // REQUIRES: an exchange of this thread, whose request is sent.
  static bool Receive(NetworkClient& client, const Operation& operation,
                      qel::config::ReceivedRecord& answer);
  template <typename Record>
  bool Ask(const Operation& operation, const Record& record, qel::config::ReceivedRecord& answer) {
    return Request(operation, record) && Receive(_client, operation, answer);
  }

  uint32_t NextRequestID() { return _client._requestCounter++; }

 private:
  static void Say(const char* reason, const char* text);

  NetworkClient& _client;
  qel::config::RecordExchange::Turn _turn;
};

}  // namespace qel::vorlane::config::access
