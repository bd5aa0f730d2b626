// What the network clients share with their threads and exchanges. Internal.
#pragma once

#include <atomic>
#include <chrono>

#include "libconfig/access/ListenerList.h"
#include "libconfig/access/RecordExchange.h"
#include "libconfig/base/Limits.h"
#include "libconfig/network/NetworkClient.h"
#include "libconfig/network/Socket.h"

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

// One request and its answer, alone on the connection while it exists.
class NetworkClient::Exchange {
 public:
  explicit Exchange(NetworkClient& client, std::chrono::milliseconds time = kAnswerTime)
      : _client(client), _turn(client._events->records, qel::config::After(time)) {}

  bool Send(const void* record, std::size_t length) {
    const bool sent = _turn.IsMine() && _client.SendRequest(record, length);
    using qel::config::Outcome;
    qel::config::SetOutcome(sent ? Outcome::kDone : Outcome::kNoConnection);
    return sent;
  }

  // Sends a request whose answer is a record of `size` bytes; Receive waits for it.
  template <typename Record>
  bool Request(const Record& record, std::size_t size, bool withStream) {
    return _turn.Expect({record.requestID, size, withStream},
                        [&] { return _client.SendRequest(&record, sizeof record); });
  }
  // REQUIRES: an exchange of this thread, whose request is sent.
  static qel::config::Received Receive(NetworkClient& client, qel::config::ReceivedRecord& answer) {
    const qel::config::Received received = client._events->records.Await(answer);
    if (received == qel::config::Received::kTimeout) Socket::ReportNothingToRead(0);
    return received;
  }
  template <typename Record>
  qel::config::Received Ask(const Record& record, std::size_t size, bool withStream,
                            qel::config::ReceivedRecord& answer) {
    if (!Request(record, size, withStream)) return qel::config::Received::kNotSent;
    return Receive(_client, answer);
  }
  // For the requests that are answered with a connection response.
  template <typename Record>
  qel::config::Received Ask(const Record& record, XCONFIGMGR_CONNECTION_RESPONSE_T& answer) {
    qel::config::ReceivedRecord received;
    const auto how = Ask(record, sizeof answer, false, received);
    answer = received.As<XCONFIGMGR_CONNECTION_RESPONSE_T>();
    return how;
  }

  uint32_t NextRequestID() { return _client._requestCounter++; }

 private:
  NetworkClient& _client;
  qel::config::RecordExchange::Turn _turn;
};

}  // namespace qel::vorlane::config::access
