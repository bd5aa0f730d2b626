#include "libconfig/network/StreamRouter.h"

#include <algorithm>

#include "libconfig/base/Limits.h"

namespace qel::vorlane::config::access {

using Result = StreamReader::Result;

namespace {

// The size of a record by its first word; 0 for a word that is no response.
std::size_t SizeOf(uint32_t type) {
  switch (type) {
    case XCFG_CONNECT_RESPONSE:
    case XCFG_DISCONNECT_RESPONSE:
    case XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE:
      return sizeof(XCONFIGMGR_CONNECTION_RESPONSE_T);
    case XCFG_GET_PARAM_RESPONSE:
    case XCFG_SET_PARAM_RESPONSE:
    case XCFG_GET_STREAM_PARAM_RESPONSE:
    case XCFG_SET_STREAM_PARAM_RESPONSE:
    case XCFG_PARAM_CHANGED_EVENT:
    case XCFG_PARAM_STREAM_CHANGED_EVENT:
      return sizeof(XCONFIGMGR_RESPONSE_T);
    default:
      return 0;
  }
}

bool CarriesStream(uint32_t type) {
  return type == XCFG_GET_STREAM_PARAM_RESPONSE || type == XCFG_SET_STREAM_PARAM_RESPONSE ||
         type == XCFG_PARAM_STREAM_CHANGED_EVENT;
}

}  // namespace

StreamRouter::StreamRouter(Socket& socket) : RecordRouter(socket), _reader(socket, nullptr) {}

RecordRouter::Reading StreamRouter::ReadRecord(ReceivedRecord& record, Received& failure,
                                               int& result) {
  record = {};
  _reader.BeginRecord();
  failure = Received::kFailed;
  bool streamFollows = false;
  Result read = ReadHeader(record, streamFollows);
  if (read == Result::kWhole && streamFollows) read = ReadStream(record, failure);
  switch (read) {
    case Result::kWhole:
      return Reading::kRecord;
    case Result::kTimeout:
      failure = Received::kTimeout;
      return Reading::kTimeout;
    case Result::kClosed:
    case Result::kCut:
      result = 0;
      return Reading::kEnd;
    case Result::kStalled:
    case Result::kError:
      break;
  }
  result = -1;
  return Reading::kEnd;
}

Result StreamRouter::ReadHeader(ReceivedRecord& record, bool& streamFollows) {
  constexpr std::size_t kType = sizeof record.header.msgtype;
  char* const bytes = reinterpret_cast<char*>(&record.header);
  const Result type = _reader.recv_exact(bytes, kType);
  if (type != Result::kWhole) return type;
  ExpectedAnswer expected;
  const bool waiting = GetExpected(expected);
  record.size = SizeOf(record.header.msgtype);
  if (record.size == 0) record.size = waiting ? expected.size : sizeof record.header;
  const Result rest = _reader.recv_exact(bytes + kType, record.size - kType);
  if (rest != Result::kWhole) return rest;
  const bool answersStream = waiting && expected.withStream && !IsEvent(record.header.msgtype);
  streamFollows =
      (CarriesStream(record.header.msgtype) || answersStream) && record.header.error == 0;
  return Result::kWhole;
}

Result StreamRouter::ReadStream(ReceivedRecord& record, Received& failure) {
  const std::size_t length = record.header.streamLength;
  if (length > qel::config::limits::kStreamPayload) {
    failure = Received::kTooLong;
    return Result::kError;
  }
  failure = Received::kStreamCut;
  // What a peer only announces takes no memory.
  constexpr std::size_t kPiece = std::size_t{64} * 1024;
  Result read = Result::kWhole;
  while (read == Result::kWhole && record.stream.size() < length) {
    const std::size_t before = record.stream.size();
    record.stream.resize(std::min(length, before + kPiece));
    read = _reader.recv_exact(record.stream.data() + before, record.stream.size() - before);
  }
  return read;
}

}  // namespace qel::vorlane::config::access
