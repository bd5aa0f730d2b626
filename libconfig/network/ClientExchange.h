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
  ~Exchange() { SemaphoreHelper::Post(_client.GetRequestLock()); }
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  template <typename Record>
  bool Send(const Record& record) {
    _requestID = record.requestID;
    return _client.SendRequest(&record, sizeof record);
  }

  Received Receive(std::size_t size, bool withStream, int timeoutMs, ReceivedRecord& answer) {
    const Received received =
        _client.ReceiveAnswer({_requestID, size, withStream, timeoutMs}, answer);
    if (received == Received::kTimeout) Socket::ReportNothingToRead(0);
    return received;
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
  uint32_t _requestID = 0;
};

}  // namespace qel::vorlane::config::access
