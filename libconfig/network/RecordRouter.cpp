#include "libconfig/network/RecordRouter.h"

#include <algorithm>
#include <chrono>

#include "libconfig/base/Limits.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using qel::config::MutexLock;
using Clock = std::chrono::steady_clock;

namespace {

// How long the events thread looks for records before it asks for the request lock again.
constexpr int kServeMs = 1;

}  // namespace

RecordRouter::RecordRouter(Socket& socket) : _socket(socket) {}

RecordRouter::~RecordRouter() = default;

bool RecordRouter::IsEvent(uint32_t type) {
  return type == XCFG_PARAM_CHANGED_EVENT || type == XCFG_PARAM_STREAM_CHANGED_EVENT;
}

bool RecordRouter::GetExpected(ExpectedAnswer& expected) {
  MutexLock lock(_mutex);
  if (_waiting) expected = _expected;
  return _waiting;
}

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
  _keptBytes += record.stream.size();
  if (_kept.size() >= qel::config::limits::kKeptEvents ||
      _keptBytes > qel::config::limits::kKeptBytes) {
    _keptBytes -= record.stream.size();
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
  bool ended = false;
  for (;;) {
    int result;
    const Reading read = ReadRecord(answer, outcome, result);
    ended = read == Reading::kEnd;
    if (read != Reading::kRecord && read != Reading::kSkipped) break;
    const Kind kind = read == Reading::kRecord ? Sort(answer) : Kind::kStale;
    if (kind == Kind::kAnswer) {
      outcome = answer.size < expected.size ? Received::kFailed : Received::kAnswer;
      break;
    }
    // Without an events thread nobody listens.
    if (kind == Kind::kEvent && IsReader()) Keep(std::move(answer));
    outcome = Received::kTimeout;
    if (Clock::now() >= deadline) break;
  }
  {
    MutexLock lock(_mutex);
    _waiting = false;
    if (outcome == Received::kTimeout) Abandon(expected.requestID);
  }
  if (ended) End(outcome);
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
    _keptBytes -= record.stream.size();
    return true;
  }
  for (;;) {
    Received failure;
    switch (ReadRecord(record, failure, result)) {
      case Reading::kRecord:
        if (HandOver(record)) continue;
        return true;
      case Reading::kSkipped:
      case Reading::kTimeout:
      case Reading::kTrouble:
        continue;
      case Reading::kEnd:
        End(failure);
        return false;
    }
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
  if (!HasBuffered() && _socket.wait_readable(kServeMs) == 0) return;
  ReceivedRecord record;
  Received failure;
  int result;
  switch (ReadRecord(record, failure, result)) {
    case Reading::kRecord:
      if (!HandOver(record)) Keep(std::move(record));
      break;
    case Reading::kSkipped:
    case Reading::kTimeout:
    case Reading::kTrouble:
      break;
    case Reading::kEnd:
      End(failure);
  }
}

}  // namespace qel::vorlane::config::access
