// What clients and servers of TCP and UDP share: the table of the records, how responses and events
// are made, and where changes are multicast. Internal.
#pragma once

#include <cstring>
#include <vector>

#include "libconfig/access/MessageTable.h"
#include "libconfig/descriptors/ParamIDs.h"
#include "libconfig/network/NetworkRecords.h"
#include "libconfig/serialization/Identifiers.h"

namespace qel::vorlane::config::access {

using qel::config::FindNetworkRecord;

// Where changes made over UDP are announced. The group is used on the loopback interface only, so
// that the traffic stays on the device.
namespace multicast {

constexpr char kGroup[] = "239.81.69.76";
constexpr char kInterface[] = "127.0.0.1";
constexpr int kPort = 63110;

}  // namespace multicast

// A request of any kind.
union NetworkRequest {
  uint32_t msgtype;
  XCONFIGMGR_CONNECTION_REQUEST_T connection;
  XCONFIGMGR_EVENT_HANDLER_REQUEST_T handler;
  XCONFIGMGR_REQUEST_T param;
};

// Null for what is no request.
constexpr const qel::config::RecordType* FindNetworkRequest(uint32_t type) {
  return qel::config::IsRequest(type) ? FindNetworkRecord(type) : nullptr;
}

// A response with what it repeats of its request; the rest is zero.
template <typename Response, typename Request>
Response ResponseTo(const Request& request, uint32_t type, uint32_t result) {
  Response response = {};
  response.msgtype = type;
  response.connectionID = request.connectionID;
  response.requestID = request.requestID;
  response.configID = request.configID;
  response.priority = request.priority;
  response.result = result;
  return response;
}

inline XCONFIGMGR_RESPONSE_T ParamResponseTo(const XCONFIGMGR_REQUEST_T& request, uint32_t type,
                                             uint32_t result) {
  auto response = ResponseTo<XCONFIGMGR_RESPONSE_T>(request, type, result);
  response.paramID = request.paramID;
  return response;
}

template <typename Record>
Record MakeEvent(uint32_t type, uint32_t configID, eParam_t param) {
  Record event = {};
  event.msgtype = type;
  event.configID = configID;
  event.result = kResultWord;
  event.paramID = param;
  event.streamFormat = eSerializationFormat_Network;
  return event;
}

// Puts the response ahead of the value that stands behind room for it.
inline void PutAhead(XCONFIGMGR_RESPONSE_T& response, std::vector<char>& record) {
  response.streamLength = static_cast<uint32_t>(record.size() - sizeof response);
  response.streamFormat = eSerializationFormat_Network;
  std::memcpy(record.data(), &response, sizeof response);
}

}  // namespace qel::vorlane::config::access
