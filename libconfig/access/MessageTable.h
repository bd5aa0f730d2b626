// What is known of each message type, one row a type. Names, sizes, dispatch and the tables of
// docs/protocol.md come from these rows. Internal.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "libconfig/access/MessageRecords.h"

namespace qel::config {

// A record as one transport carries it; no size where it does not.
struct RecordType {
  std::size_t size = 0;
  bool hasStream = false;  // streamLength bytes may follow
};

struct MessageType {
  uint32_t type;
  const char* enumerator;
  const char* name;       // for people
  const char* direction;  // "->" is a request, "<-" a response, "<=" an event
  RecordType queue;       // of MessageRecords.h
  RecordType network;     // of network/NetworkRecords.h
};

// Over TCP a Set is not answered, and Set String only when it is refused. Over UDP the listener
// requests are not served, Set String is not answered, the answer to Connect is as long as that to
// Get, and the answer to Get String has the type of its request. Populate is served by none.
#define ROW(type, ...) \
  { XCFG_##type, "XCFG_" #type, __VA_ARGS__ }
inline constexpr MessageType kMessageTypes[] = {
    ROW(CONNECT_REQUEST, "Connect Request", "->", {20}, {24}),
    ROW(DISCONNECT_REQUEST, "Disconnect Request", "->", {20}, {24}),
    ROW(CONNECT_RESPONSE, "Connect Response", "<-", {52}, {28}),
    ROW(DISCONNECT_RESPONSE, "Disconnect Response", "<-", {52}, {28}),
    ROW(ADD_CONFIG_EVENT_LISTENER_REQUEST, "Add Listener Request", "->", {24}, {28}),
    ROW(REMOVE_CONFIG_EVENT_LISTENER_REQUEST, "Remove Listener Request", "->", {24}, {28}),
    ROW(ADD_CONFIG_EVENT_LISTENER_RESPONSE, "Add Listener Response", "<-", {52}, {}),
    ROW(REMOVE_CONFIG_EVENT_LISTENER_RESPONSE, "Remove Listener Response", "<-", {52}, {28}),
    ROW(GET_PARAM_REQUEST, "Get Request", "->", {36}, {40}),
    ROW(SET_PARAM_REQUEST, "Set Request", "->", {36}, {40}),
    ROW(GET_PARAM_RESPONSE, "Get Response", "<-", {52}, {44}),
    ROW(SET_PARAM_RESPONSE, "Set Response", "<-", {52}, {44}),
    ROW(GET_STREAM_PARAM_REQUEST, "Get String Request", "->", {36}, {40}),
    ROW(SET_STREAM_PARAM_REQUEST, "Set String Request", "->", {36, true}, {40, true}),
    ROW(POPULATE_PARAM_REQUEST, "Populate Param Request", "->", {}, {}),
    ROW(GET_STREAM_PARAM_RESPONSE, "Get String Response", "<-", {52, true}, {44, true}),
    ROW(SET_STREAM_PARAM_RESPONSE, "Set String Response", "<-", {52}, {44, true}),
    ROW(POPULATE_PARAM_RESPONSE, "Populate Param Response", "<-", {}, {}),
    ROW(PARAM_CHANGED_EVENT, "Param Changed Event", "<=", {52}, {44}),
    ROW(PARAM_STREAM_CHANGED_EVENT, "Param String Changed Event", "<=", {52, true}, {44, true}),
};
#undef ROW

// The row of `type`, or null.
template <typename Row, std::size_t kRows>
constexpr const Row* FindRow(const Row (&rows)[kRows], uint32_t type) {
  for (const Row& row : rows) {
    if (row.type == type) return &row;
  }
  return nullptr;
}

// The place of each type in the table, from 1 on.
inline constexpr auto kMessageRows = [] {
  std::array<uint8_t, XCFG_PARAM_STREAM_CHANGED_EVENT + 1> places = {};
  uint8_t place = 0;
  for (const MessageType& row : kMessageTypes) places[row.type] = ++place;
  return places;
}();

constexpr const MessageType* FindMessageType(uint32_t type) {
  const std::size_t place = type < kMessageRows.size() ? kMessageRows[type] : 0;
  return place > 0 ? &kMessageTypes[place - 1] : nullptr;
}

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

// Null for a type that the transport does not carry.
constexpr const RecordType* FindRecord(RecordType MessageType::*transport, uint32_t type) {
  const MessageType* const row = FindMessageType(type);
  return row != nullptr && (row->*transport).size > 0 ? &(row->*transport) : nullptr;
}
constexpr const RecordType* FindQueueRecord(uint32_t type) {
  return FindRecord(&MessageType::queue, type);
}
constexpr const RecordType* FindNetworkRecord(uint32_t type) {
  return FindRecord(&MessageType::network, type);
}

}  // namespace qel::config
