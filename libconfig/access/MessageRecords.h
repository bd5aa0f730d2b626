// The records that clients and the main daemon exchange over message queues: one record a message,
// 32-bit words in the host's own byte order. A stream record is followed, in the same message, by
// the serialized value. TCP and UDP have records of their own: see network/NetworkRecords.h.
#pragma once

#include <cstddef>
#include <cstdint>

// The first word of every record, here and on the network. A response is its request plus 16.
// Do not renumber.
enum MQMessage_t : uint32_t {
  XCFG_CONNECT_REQUEST = 16,
  XCFG_DISCONNECT_REQUEST = 17,
  XCFG_CONNECT_RESPONSE = 32,
  XCFG_DISCONNECT_RESPONSE = 33,
  XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST = 48,
  XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST = 49,
  XCFG_ADD_CONFIG_EVENT_LISTENER_RESPONSE = 64,
  XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE = 65,
  XCFG_GET_PARAM_REQUEST = 80,
  XCFG_SET_PARAM_REQUEST = 81,
  XCFG_GET_PARAM_RESPONSE = 96,
  XCFG_SET_PARAM_RESPONSE = 97,
  XCFG_GET_STREAM_PARAM_REQUEST = 112,
  XCFG_SET_STREAM_PARAM_REQUEST = 113,
  XCFG_POPULATE_PARAM_REQUEST = 114,
  XCFG_GET_STREAM_PARAM_RESPONSE = 128,
  XCFG_SET_STREAM_PARAM_RESPONSE = 129,
  XCFG_POPULATE_PARAM_RESPONSE = 130,
  XCFG_PARAM_CHANGED_EVENT = 144,
  XCFG_PARAM_STREAM_CHANGED_EVENT = 145,
};

// What a response says where it is not 0. Do not renumber.
enum eMessageError : uint32_t {
  eMessageError_TooMany = 23,        // connections or configurations; over queues only
  eMessageError_Refused = 53,        // the value was not stored
  eMessageError_NoValue = 60,        // the parameter has no value that could be sent
  eMessageError_TooLong = 90,        // the value does not fit into a message of a queue
  eMessageError_NotConnected = 107,  // a Connect Request has to come first
};

// Connect and Disconnect.
struct XCONFIGMGR_CONNECTION_REQUEST_T {
  uint32_t msgtype;
  uint32_t connectionID;
  uint32_t requestID;
  uint32_t configID;
  uint32_t priority;
};

// Add Listener and Remove Listener.
struct XCONFIGMGR_EVENT_HANDLER_REQUEST_T {
  uint32_t msgtype;
  uint32_t connectionID;
  uint32_t requestID;
  uint32_t configID;
  uint32_t priority;
  uint32_t paramID;
};

struct XCONFIGMGR_REQUEST_T {
  uint32_t msgtype;
  uint32_t connectionID;  // process number in the high half, connection counter in the low half
  uint32_t requestID;
  uint32_t configID;
  uint32_t priority;
  uint32_t paramID;
  uint32_t value;
  uint32_t streamLength;
  uint32_t streamFormat;
};

struct XCONFIGMGR_RESPONSE_T {
  uint32_t msgtype;
  uint32_t connectionID;
  uint32_t requestID;
  uint32_t configID;
  uint32_t priority;
  uint32_t result;  // of Connect, Disconnect and the listener requests; 0 on success
  uint32_t paramID;
  uint32_t timeSeconds;
  uint32_t timeMicroseconds;
  uint32_t error;  // of the parameter requests; 0 on success
  uint32_t value;
  uint32_t streamLength;
  uint32_t streamFormat;
};

// With words alone there is no padding: the size and the order above are the layout.
static_assert(sizeof(XCONFIGMGR_CONNECTION_REQUEST_T) == 20);
static_assert(sizeof(XCONFIGMGR_EVENT_HANDLER_REQUEST_T) == 24);
static_assert(sizeof(XCONFIGMGR_REQUEST_T) == 36);
static_assert(sizeof(XCONFIGMGR_RESPONSE_T) == 52);
