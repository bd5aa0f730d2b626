// A client's exchanges with its server. Internal.
#pragma once

#include <cstring>

#include "libconfig/network/NetworkClient.h"
#include "libconfig/network/RecordRouter.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

// One request and its answer, alone on the connection while it exists.
class NetworkClient::Exchange {
 public:
  explicit Exchange(NetworkClient& client) : _client(client) { client.TakeRequestLock(); }
  ~Exchange() { SemaphoreHelper::Post(_client._requestLock.Get()); }
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  // For a request that is not answered.
  template <typename Record>
  bool Send(const Record& record) {
    return _client.SendRequest(&record, sizeof record);
  }

  // Sends a request whose answer is a record of `size` bytes. The answer may be read by the events
  // thread, and before this one gets to wait for it.
  template <typename Record>
  bool Request(const Record& record, std::size_t size, bool withStream, int timeoutMs) {
    _client._router->Expect({record.requestID, size, withStream, timeoutMs});
    if (Send(record)) return true;
    _client._router->ExpectNothing();
    return false;
  }

  // REQUIRES: an exchange of this thread, whose request is sent.
  static Received Receive(NetworkClient& client, ReceivedRecord& answer) {
    const Received received = client._router->ReceiveAnswer(answer);
    if (received == Received::kTimeout) Socket::ReportNothingToRead(0);
    return received;
  }

  // Both.
  template <typename Record>
  Received Ask(const Record& record, std::size_t size, bool withStream, int timeoutMs,
               ReceivedRecord& answer) {
    if (!Request(record, size, withStream, timeoutMs)) return Received::kNotSent;
    return Receive(_client, answer);
  }

  uint32_t NextRequestID() { return _client._requestCounter++; }

  // Of a connection response, whose error stands at another place.
  static uint32_t ConnectionError(const ReceivedRecord& answer) {
    XCONFIGMGR_CONNECTION_RESPONSE_T response;
    std::memcpy(&response, &answer.header, sizeof response);
    return response.error;
  }

 private:
  NetworkClient& _client;
};

}  // namespace qel::vorlane::config::access
