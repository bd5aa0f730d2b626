// The records that clients and servers exchange over TCP and UDP: 32-bit words in the host's own
// byte order, one record behind the other on a stream, one in a datagram. Their sizes and layouts
// are not those of the message queues. A stream record is followed by streamLength bytes, one
// serialized value. docs/protocol.md has the tables.
#pragma once

#include <cstdint>

#include "libconfig/access/MessageRecords.h"

namespace qel::vorlane::config::access {

// What the `result` word holds in everything but an echo.
constexpr uint32_t kResultWord = 4096;

// Connect and Disconnect.
struct XCONFIGMGR_CONNECTION_REQUEST_T {
  uint32_t msgtype;
  uint32_t connectionID;  // connection counter in the high half, process number in the low half
  uint32_t requestID;
  uint32_t configID;
  uint32_t priority;
  uint32_t result;
};

// Answers to these, and to Remove Listener.
struct XCONFIGMGR_CONNECTION_RESPONSE_T {
  uint32_t msgtype;
  uint32_t connectionID;
  uint32_t requestID;
  uint32_t configID;
  uint32_t priority;
  uint32_t result;
  uint32_t error;
};

// Add Listener and Remove Listener.
struct XCONFIGMGR_EVENT_HANDLER_REQUEST_T {
  uint32_t msgtype;
  uint32_t connectionID;
  uint32_t requestID;
  uint32_t configID;
  uint32_t priority;
  uint32_t result;
  uint32_t paramID;  // 0 for every parameter
};

struct XCONFIGMGR_REQUEST_T {
  uint32_t msgtype;
  uint32_t connectionID;
  uint32_t requestID;
  uint32_t configID;
  uint32_t priority;
  uint32_t result;
  uint32_t paramID;
  uint32_t value;
  uint32_t streamLength;
  uint32_t streamFormat;
};

// Answers to the parameter requests, and events.
struct XCONFIGMGR_RESPONSE_T {
  uint32_t msgtype;
  uint32_t connectionID;
  uint32_t requestID;  // all bits set in TCP events, a sequence number in multicast ones
  uint32_t configID;
  uint32_t priority;
  uint32_t result;
  uint32_t paramID;
  uint32_t error;
  uint32_t value;
  uint32_t streamLength;
  uint32_t streamFormat;
};

// With words alone there is no padding: the size and the order above are the layout.
static_assert(sizeof(XCONFIGMGR_CONNECTION_REQUEST_T) == 24);
static_assert(sizeof(XCONFIGMGR_CONNECTION_RESPONSE_T) == 28);
static_assert(sizeof(XCONFIGMGR_EVENT_HANDLER_REQUEST_T) == 28);
static_assert(sizeof(XCONFIGMGR_REQUEST_T) == 40);
static_assert(sizeof(XCONFIGMGR_RESPONSE_T) == 44);

}  // namespace qel::vorlane::config::access
