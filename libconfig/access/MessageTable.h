// What is known of each message type, one row a type: here what holds on every transport, and the
// records of the message queues; network/NetworkRecordTable.h has the records of the network.
// Names, sizes, dispatch and the tables of docs/protocol.md come from these rows. Internal.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libconfig/access/MessageRecords.h"

namespace qel::config {

struct MessageType {
  uint32_t type;
  const char* enumerator;
  const char* name;       // for people
  const char* direction;  // "->" is a request, "<-" a response, "<=" an event
};

inline constexpr MessageType kMessageTypes[] = {
    {XCFG_CONNECT_REQUEST, "XCFG_CONNECT_REQUEST", "Connect Request", "->"},
    {XCFG_DISCONNECT_REQUEST, "XCFG_DISCONNECT_REQUEST", "Disconnect Request", "->"},
    {XCFG_CONNECT_RESPONSE, "XCFG_CONNECT_RESPONSE", "Connect Response", "<-"},
    {XCFG_DISCONNECT_RESPONSE, "XCFG_DISCONNECT_RESPONSE", "Disconnect Response", "<-"},
    {XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST, "XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST",
     "Add Listener Request", "->"},
    {XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST, "XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST",
     "Remove Listener Request", "->"},
    {XCFG_ADD_CONFIG_EVENT_LISTENER_RESPONSE, "XCFG_ADD_CONFIG_EVENT_LISTENER_RESPONSE",
     "Add Listener Response", "<-"},
    {XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE, "XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE",
     "Remove Listener Response", "<-"},
    {XCFG_GET_PARAM_REQUEST, "XCFG_GET_PARAM_REQUEST", "Get Request", "->"},
    {XCFG_SET_PARAM_REQUEST, "XCFG_SET_PARAM_REQUEST", "Set Request", "->"},
    {XCFG_GET_PARAM_RESPONSE, "XCFG_GET_PARAM_RESPONSE", "Get Response", "<-"},
    {XCFG_SET_PARAM_RESPONSE, "XCFG_SET_PARAM_RESPONSE", "Set Response", "<-"},
    {XCFG_GET_STREAM_PARAM_REQUEST, "XCFG_GET_STREAM_PARAM_REQUEST", "Get String Request", "->"},
    {XCFG_SET_STREAM_PARAM_REQUEST, "XCFG_SET_STREAM_PARAM_REQUEST", "Set String Request", "->"},
    {XCFG_POPULATE_PARAM_REQUEST, "XCFG_POPULATE_PARAM_REQUEST", "Populate Param Request", "->"},
    {XCFG_GET_STREAM_PARAM_RESPONSE, "XCFG_GET_STREAM_PARAM_RESPONSE", "Get String Response", "<-"},
    {XCFG_SET_STREAM_PARAM_RESPONSE, "XCFG_SET_STREAM_PARAM_RESPONSE", "Set String Response", "<-"},
    {XCFG_POPULATE_PARAM_RESPONSE, "XCFG_POPULATE_PARAM_RESPONSE", "Populate Param Response", "<-"},
    {XCFG_PARAM_CHANGED_EVENT, "XCFG_PARAM_CHANGED_EVENT", "Param Changed Event", "<="},
    {XCFG_PARAM_STREAM_CHANGED_EVENT, "XCFG_PARAM_STREAM_CHANGED_EVENT",
     "Param String Changed Event", "<="},
};

// A record as one transport carries it.
struct RecordType {
  uint32_t type;
  std::size_t size;
  bool hasStream = false;  // streamLength bytes may follow
};

// Populate is served by no transport.
inline constexpr RecordType kQueueRecords[] = {
    {XCFG_CONNECT_REQUEST, sizeof(XCONFIGMGR_CONNECTION_REQUEST_T)},
    {XCFG_DISCONNECT_REQUEST, sizeof(XCONFIGMGR_CONNECTION_REQUEST_T)},
    {XCFG_CONNECT_RESPONSE, sizeof(XCONFIGMGR_RESPONSE_T)},
    {XCFG_DISCONNECT_RESPONSE, sizeof(XCONFIGMGR_RESPONSE_T)},
    {XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST, sizeof(XCONFIGMGR_EVENT_HANDLER_REQUEST_T)},
    {XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST, sizeof(XCONFIGMGR_EVENT_HANDLER_REQUEST_T)},
    {XCFG_ADD_CONFIG_EVENT_LISTENER_RESPONSE, sizeof(XCONFIGMGR_RESPONSE_T)},
    {XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE, sizeof(XCONFIGMGR_RESPONSE_T)},
    {XCFG_GET_PARAM_REQUEST, sizeof(XCONFIGMGR_REQUEST_T)},
    {XCFG_SET_PARAM_REQUEST, sizeof(XCONFIGMGR_REQUEST_T)},
    {XCFG_GET_PARAM_RESPONSE, sizeof(XCONFIGMGR_RESPONSE_T)},
    {XCFG_SET_PARAM_RESPONSE, sizeof(XCONFIGMGR_RESPONSE_T)},
    {XCFG_GET_STREAM_PARAM_REQUEST, sizeof(XCONFIGMGR_REQUEST_T)},
    {XCFG_SET_STREAM_PARAM_REQUEST, sizeof(XCONFIGMGR_REQUEST_T), true},
    {XCFG_GET_STREAM_PARAM_RESPONSE, sizeof(XCONFIGMGR_RESPONSE_T), true},
    {XCFG_SET_STREAM_PARAM_RESPONSE, sizeof(XCONFIGMGR_RESPONSE_T)},
    {XCFG_PARAM_CHANGED_EVENT, sizeof(XCONFIGMGR_RESPONSE_T)},
    {XCFG_PARAM_STREAM_CHANGED_EVENT, sizeof(XCONFIGMGR_RESPONSE_T), true},
};

// The row of `type`, or null.
template <typename Row, std::size_t kRows>
constexpr const Row* FindRow(const Row (&rows)[kRows], uint32_t type) {
  for (const Row& row : rows) {
    if (row.type == type) return &row;
  }
  return nullptr;
}

constexpr const MessageType* FindMessageType(uint32_t type) { return FindRow(kMessageTypes, type); }

constexpr bool IsRequest(uint32_t type) {
  const MessageType* const row = FindMessageType(type);
  return row != nullptr && row->direction[0] == '-';
}

constexpr bool IsEvent(uint32_t type) {
  const MessageType* const row = FindMessageType(type);
  return row != nullptr && row->direction[1] == '=';
}

// The type that answers a request.
constexpr uint32_t AnswerType(uint32_t request) { return request + 16; }

constexpr const RecordType* FindQueueRecord(uint32_t type) { return FindRow(kQueueRecords, type); }

}  // namespace qel::config
