#include "libconfig/network/RecordRouter.h"

#include <algorithm>
#include <chrono>

#include "libconfig/base/Limits.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using qel::config::MutexLock;
using Clock = std::chrono::steady_clock;
using Result = StreamReader::Result;

namespace {

// How long the events thread looks for records before it asks for the request lock again.
constexpr int kServeMs = 1;

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

bool IsEvent(uint32_t type) {
  return type == XCFG_PARAM_CHANGED_EVENT || type == XCFG_PARAM_STREAM_CHANGED_EVENT;
}

}  // namespace

RecordRouter::RecordRouter(Socket& socket) : _socket(socket), _reader(socket, nullptr) {}

void RecordRouter::ExpectReader() { _hasReader = true; }

void RecordRouter::BecomeReader() {
  _hasReader = true;
  _readerThread = std::this_thread::get_id();
}

bool RecordRouter::IsReader() const { return _readerThread == std::this_thread::get_id(); }

void RecordRouter::SetReceiveTimeout(int milliseconds) {
  if (milliseconds == _receiveTimeoutMs) return;
  _socket.set_receive_timeout(static_cast<unsigned>(milliseconds));
  _receiveTimeoutMs = milliseconds;
}

void RecordRouter::Expect(const ExpectedAnswer& expected) {
  MutexLock lock(_mutex);
  _waiting = true;
  _answered = false;
  _expected = expected;
}

void RecordRouter::ExpectNothing() {
  MutexLock lock(_mutex);
  _waiting = false;
}

Received RecordRouter::ReceiveAnswer(ReceivedRecord& answer) {
  return _hasReader && !IsReader() ? AwaitAnswer(answer) : ReadUntilAnswer(answer);
}

// One record, its stream included. Without a whole record the result tells why, and `failure` what
// it means for an exchange.
Result RecordRouter::ReadRecord(ReceivedRecord& record, Received& failure) {
  record = {};
  failure = Received::kFailed;
  _reader.BeginRecord();
  char* const bytes = reinterpret_cast<char*>(&record.header);
  Result result = _reader.recv_exact(bytes, sizeof record.header.msgtype);
  if (result == Result::kTimeout) failure = Received::kTimeout;
  if (result != Result::kWhole) return result;

  bool streamExpected;
  record.size = SizeOf(record.header.msgtype);
  {
    MutexLock lock(_mutex);
    if (record.size == 0) {
      record.size = _waiting ? _expected.size : sizeof(XCONFIGMGR_RESPONSE_T);
    }
    streamExpected = _waiting && _expected.withStream;
  }
  constexpr std::size_t kType = sizeof record.header.msgtype;
  result = _reader.recv_exact(bytes + kType, record.size - kType);
  if (result != Result::kWhole) return result;

  const bool stream = (CarriesStream(record.header.msgtype) ||
                       (streamExpected && !IsEvent(record.header.msgtype))) &&
                      record.header.error == 0;
  if (!stream) return Result::kWhole;
  const std::size_t length = record.header.streamLength;
  if (length > qel::config::limits::kStreamPayload) {
    failure = Received::kTooLong;
    return Result::kError;
  }
  failure = Received::kStreamCut;
  // What a peer only announces takes no memory.
  constexpr std::size_t kPiece = 64 * 1024;
  while (result == Result::kWhole && record.stream.size() < length) {
    const std::size_t before = record.stream.size();
    record.stream.resize(std::min(length, before + kPiece));
    result = _reader.recv_exact(record.stream.data() + before, record.stream.size() - before);
  }
  return result;
}

RecordRouter::Kind RecordRouter::Sort(const ReceivedRecord& record) {
  if (IsEvent(record.header.msgtype)) return Kind::kEvent;
  // A string is only answered when it was refused, and nobody waits for that.
  if (record.header.msgtype == XCFG_SET_STREAM_PARAM_RESPONSE) return Kind::kStale;
  MutexLock lock(_mutex);
  if (_abandoned.erase(record.header.requestID) != 0) return Kind::kStale;
  return _waiting && !_answered ? Kind::kAnswer : Kind::kUnsolicited;
}

void RecordRouter::Abandon(uint32_t requestID) {
  // The numbers ascend, so that the first is the oldest.
  if (_abandoned.size() >= qel::config::limits::kAbandonedRequests) {
    _abandoned.erase(_abandoned.begin());
  }
  _abandoned.insert(requestID);
}

void RecordRouter::Keep(ReceivedRecord record) {
  if (_kept.size() >= qel::config::limits::kKeptEvents) {
    _socket.close();  // events without end, and no answer
    return;
  }
  _kept.push_back(std::move(record));
}

Received RecordRouter::ReadUntilAnswer(ReceivedRecord& answer) {
  ExpectedAnswer expected;
  {
    MutexLock lock(_mutex);
    expected = _expected;
    if (_ended) {
      _waiting = false;
      return _ending;
    }
  }
  SetReceiveTimeout(expected.timeoutMs);
  const auto deadline = Clock::now() + std::chrono::milliseconds(expected.timeoutMs);
  Received outcome = Received::kTimeout;
  for (bool reading = true; reading;) {
    const Result result = ReadRecord(answer, outcome);
    if (result != Result::kWhole) break;
    switch (Sort(answer)) {
      case Kind::kEvent:
        // Without an events thread nobody listens.
        if (IsReader()) Keep(std::move(answer));
        break;
      case Kind::kAnswer:
        outcome = answer.size < expected.size ? Received::kFailed : Received::kAnswer;
        reading = false;
        break;
      case Kind::kStale:
      case Kind::kUnsolicited:
        break;
    }
    if (reading && Clock::now() >= deadline) {
      outcome = Received::kTimeout;
      reading = false;
    }
  }
  {
    MutexLock lock(_mutex);
    _waiting = false;
    if (outcome == Received::kTimeout) Abandon(expected.requestID);
  }
  if (outcome != Received::kTimeout && outcome != Received::kAnswer) End(outcome);
  return outcome;
}

Received RecordRouter::AwaitAnswer(ReceivedRecord& answer) {
  MutexLock lock(_mutex);
  const auto deadline = Clock::now() + std::chrono::milliseconds(_expected.timeoutMs);
  while (!_answered && !_ended && _changed.WaitUntil(_mutex, deadline)) {
  }
  _waiting = false;
  if (!_answered) {
    if (_ended) return _ending;
    Abandon(_expected.requestID);
    return Received::kTimeout;
  }
  answer = std::move(_answer);
  return answer.size < _expected.size ? Received::kFailed : Received::kAnswer;
}

// Gives an answer to the exchange that waits for it. False when the record is nobody's.
bool RecordRouter::HandOver(ReceivedRecord& record) {
  switch (Sort(record)) {
    case Kind::kEvent:
    case Kind::kUnsolicited:
      return false;
    case Kind::kStale:
      return true;
    case Kind::kAnswer:
      break;
  }
  MutexLock lock(_mutex);
  if (!_waiting) return true;  // given up a moment ago
  _answer = std::move(record);
  _answered = true;
  _changed.Broadcast();
  return true;
}

void RecordRouter::End(Received how) {
  _socket.close();
  MutexLock lock(_mutex);
  if (!_ended) _ending = how;
  _ended = true;
  _changed.Broadcast();
}

bool RecordRouter::NextEvent(ReceivedRecord& record, int& result) {
  if (!_kept.empty()) {
    record = std::move(_kept.front());
    _kept.pop_front();
    return true;
  }
  for (;;) {
    Received failure;
    switch (ReadRecord(record, failure)) {
      case Result::kWhole:
        if (HandOver(record)) continue;
        return true;
      case Result::kTimeout:
        continue;
      case Result::kClosed:
      case Result::kCut:
        result = 0;
        break;
      case Result::kStalled:
      case Result::kError:
        result = -1;
        break;
    }
    End(failure);
    return false;
  }
}

void RecordRouter::SetReaderQueues(bool queues) {
  MutexLock lock(_mutex);
  _readerQueues = queues;
  _changed.Broadcast();
}

void RecordRouter::LetReaderGoFirst() {
  if (!_hasReader) return;
  MutexLock lock(_mutex);
  while (_readerQueues) _changed.Wait(_mutex);
}

void RecordRouter::ServeExchange() {
  if (!_reader.HasBuffered() && _socket.wait_readable(kServeMs) == 0) return;
  ReceivedRecord record;
  Received failure;
  const Result result = ReadRecord(record, failure);
  if (result == Result::kWhole) {
    if (!HandOver(record)) Keep(std::move(record));
  } else if (result != Result::kTimeout) {
    End(failure);
  }
}

}  // namespace qel::vorlane::config::access
