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

  // For a request that is not answered.
  template <typename Record>
  bool Send(const Record& record) {
    return _client.SendRequest(&record, sizeof record);
  }

  // Sends the request and waits for its answer, a record of `size` bytes.
  template <typename Record>
  Received Ask(const Record& record, std::size_t size, bool withStream, int timeoutMs,
               ReceivedRecord& answer) {
    const ExpectedAnswer expected = {record.requestID, size, withStream, timeoutMs};
    const Received received = _client.Ask(&record, sizeof record, expected, answer);
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
};

}  // namespace qel::vorlane::config::access
