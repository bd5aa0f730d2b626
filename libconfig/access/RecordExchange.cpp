#include "libconfig/access/RecordExchange.h"

#include <cerrno>
#include <new>

#include "libconfig/access/MessageTable.h"
#include "libconfig/base/Limits.h"

namespace qel::config {

bool ReceivedRecord::IsEvent() const { return qel::config::IsEvent(GetType()); }

RecordReader::~RecordReader() = default;

RecordExchange::RecordExchange(std::unique_ptr<RecordReader> reader) : _reader(std::move(reader)) {}

RecordExchange::~RecordExchange() = default;

// False when `deadline` passed first.
bool RecordExchange::Wait(Deadline deadline) {
  struct Sleeper {
    explicit Sleeper(unsigned& sleepers) : count(sleepers) { ++count; }
    ~Sleeper() { --count; }
    unsigned& count;
  };
  const Sleeper sleeper(_sleepers);
  if (deadline != kForever) return _changed.WaitUntil(_mutex, deadline);
  _changed.Wait(_mutex);
  return true;
}

void RecordExchange::Wake() {
  if (_sleepers > 0) _changed.Broadcast();
}

RecordExchange::Turn::Turn(RecordExchange& records, Deadline deadline, Registered)
    : _records(records), _deadline(deadline) {
  MutexLock lock(_records._mutex);
  ++_records._turns;
  TakeIfFree();
}

RecordExchange::Turn::Turn(RecordExchange& records, Deadline deadline)
    : Turn(records, deadline, Registered()) {
  if (_granted) return;
  MutexLock lock(_records._mutex);
  TakeIfFree();
  if (_granted) return;
  Turn** last = &_records._firstTurn;
  while (*last != nullptr) last = &(*last)->_next;
  *last = this;
  while (!_granted && !_records._ended && _records.Wait(deadline)) {
  }
  if (_granted) return;
  Unlink();
  _error = _records._ended ? ECANCELED : ETIMEDOUT;
  errno = _error;
}

RecordExchange::Turn::~Turn() {
  MutexLock lock(_records._mutex);
  --_records._turns;
  Unlink();
  if (_granted) {
    if (_records._waiting) _records.Abandon(_records._expected.requestID);
    _records._waiting = false;
    Turn* const next = _records._firstTurn;
    _records._exchanging = next != nullptr;
    if (next != nullptr) {
      _records._firstTurn = next->_next;
      next->_granted = true;
    }
  }
  _records.Wake();
}

void RecordExchange::Turn::TakeIfFree() {
  if (_records._ended || _records._exchanging) return;
  _records._exchanging = _granted = true;
}

void RecordExchange::Turn::Unlink() {
  for (Turn** link = &_records._firstTurn; *link != nullptr; link = &(*link)->_next) {
    if (*link != this) continue;
    *link = _next;
    return;
  }
}

void RecordExchange::Turn::Announce(const ExpectedAnswer& expected) {
  MutexLock lock(_records._mutex);
  _records._waiting = true;
  _records._answered = false;
  _records._expected = expected;
  _records._deadline = _deadline;
}

void RecordExchange::Turn::Withdraw() {
  MutexLock lock(_records._mutex);
  _records._waiting = false;
}

void RecordExchange::Turn::GiveUp(uint32_t requestID) {
  MutexLock lock(_records._mutex);
  _records.Abandon(requestID);
}

bool RecordExchange::GetExpected(ExpectedAnswer& expected) {
  MutexLock lock(_mutex);
  if (_waiting) expected = _expected;
  return _waiting;
}

void RecordExchange::Abandon(uint32_t requestID) {
  // The numbers ascend, so that the first is the oldest.
  if (_abandoned.size() >= limits::kAbandonedRequests) _abandoned.erase(_abandoned.begin());
  try {
    _abandoned.insert(requestID);
  } catch (const std::bad_alloc&) {
    // The late answer will be taken for one that nobody asked for.
  }
}

// The only reader, with the lock released while it exists. A reader may be cancelled, and may run
// out of memory.
class RecordExchange::Reading {
 public:
  explicit Reading(RecordExchange& records) LIBCONFIG_NO_THREAD_SAFETY_ANALYSIS
      : _records(records) {
    _records._reading = true;
    _records._mutex.unlock();
  }
  ~Reading() LIBCONFIG_NO_THREAD_SAFETY_ANALYSIS {
    _records._mutex.lock();
    _records._reading = false;
    _records.Wake();
  }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

 private:
  RecordExchange& _records;
};

// Leaves what it read where it belongs.
Received RecordExchange::ReadOne(Deadline deadline, uint32_t& type) {
  ReceivedRecord record;
  Received read = Received::kFailed;
  int error = ENOMEM;
  try {
    {
      const Reading reading(*this);
      read = _reader->Read(record, deadline, *this);
      error = errno;
    }
    if (read == Received::kRecord) return Sort(record, type);
  } catch (const std::bad_alloc&) {
    read = _reader->IsReliable() ? Received::kEnded : Received::kFailed;
  }
  if (read >= Received::kEnded) {
    End(read, error);
  } else if (read == Received::kFailed && _waiting && !_answered) {
    _answered = true;
    _outcome = read;
    _error = error;
  }
  errno = error;
  return read;
}

Received RecordExchange::Sort(ReceivedRecord& record, uint32_t& type) {
  if (record.IsEvent()) return Keep(record);
  if (_abandoned.erase(record.GetRequestID()) != 0) return Received::kIgnored;
  type = record.GetType();
  if (!_waiting || _answered) return Received::kUnknown;
  _answer = std::move(record);
  _answered = true;
  _outcome = Received::kRecord;
  _keptAtAnswer = _kept;
  return Received::kRecord;
}

Received RecordExchange::Keep(ReceivedRecord& event) {
  if (!_keepEvents || _ended) return Received::kIgnored;
  const std::size_t bytes = event.stream.size();
  if (_events.size() >= limits::kKeptEvents || _eventBytes + bytes > limits::kKeptBytes) {
    if (!_reader->IsReliable()) return Received::kIgnored;
    End(Received::kEnded, ENOBUFS);
    return Received::kEnded;
  }
  _events.push_back(std::move(event));
  _eventBytes += bytes;
  ++_kept;
  return Received::kRecord;
}

Received RecordExchange::Await(ReceivedRecord& answer) {
  MutexLock lock(_mutex);
  // Unless something else ends it; also when nobody asked, or another thread took the answer.
  Received outcome = Received::kTimeout;
  int error = ETIMEDOUT;
  while (_waiting && !_answered) {
    if (_ended) {
      outcome = _ending;
      error = _endError;
      break;
    }
    if (_reading) {
      if (!Wait(_deadline)) break;
      continue;
    }
    uint32_t type;
    const Received read = ReadOne(_deadline, type);
    if (_answered || read >= Received::kEnded) continue;
    // However much comes: it is not the answer.
    if (read == Received::kTimeout || std::chrono::steady_clock::now() >= _deadline) break;
  }
  if (_waiting && _answered) {
    outcome = _outcome;
    error = _error;
    answer = std::move(_answer);
    if (outcome == Received::kRecord && answer.size < _expected.size) {
      outcome = Received::kFailed;
      error = EPROTO;
    }
    LetEarlierEventsBeTold();
  } else if (_waiting) {
    Abandon(_expected.requestID);
  }
  _waiting = false;
  SetOutcome(outcome == Received::kRecord    ? Outcome::kDone
             : outcome == Received::kTimeout ? Outcome::kNoAnswer
                                             : Outcome::kNoConnection);
  errno = error;
  return outcome;
}

void RecordExchange::NoteTold() {
  if (_teller != std::this_thread::get_id()) return;
  _teller = {};
  _tellingSince = kForever;
  _told = _kept - _events.size();
  Wake();
}

void RecordExchange::LetEarlierEventsBeTold() {
  constexpr std::chrono::milliseconds kMoment(100);
  const uint64_t last = _keptAtAnswer;
  if (!_threadTells || _told >= last || _teller == std::this_thread::get_id()) return;
  const Deadline since =
      _tellingSince == kForever ? std::chrono::steady_clock::now() : _tellingSince;
  while (_told < last && !_ended && Wait(since + kMoment)) {
  }
}

void RecordExchange::KeepEvents(bool keep, bool isThread) {
  MutexLock lock(_mutex);
  _keepEvents = keep;
  _threadTells = keep && isThread;
  if (keep) return;
  _events.clear();
  _eventBytes = 0;
}

bool RecordExchange::HasEvents() {
  MutexLock lock(_mutex);
  return !_events.empty();
}

bool RecordExchange::TakeFirst(ReceivedRecord& event) {
  if (_events.empty()) return false;
  event = std::move(_events.front());
  _events.pop_front();
  _eventBytes -= event.stream.size();
  return true;
}

RecordExchange::EventWait::EventWait(RecordExchange& records) : _records(records) {
  MutexLock lock(records._mutex);
  ++records._eventWaiters;
}

RecordExchange::EventWait::~EventWait() {
  MutexLock lock(_records._mutex);
  _records.NoteTold();
  --_records._eventWaiters;
  _records.Wake();
}

Received RecordExchange::AwaitEvent(uint32_t& type) {
  MutexLock lock(_mutex);
  NoteTold();
  while (_events.empty()) {
    if (_ended) {
      errno = _endError;
      return _ending;
    }
    if (_reading) {
      Wait(kForever);
      continue;
    }
    const Received read = ReadOne(kForever, type);
    if (read == Received::kUnknown || read == Received::kFailed) return read;
  }
  return Received::kRecord;
}

bool RecordExchange::TakeAwaitedEvent(ReceivedRecord& event) {
  MutexLock lock(_mutex);
  if (!TakeFirst(event)) return false;
  _teller = std::this_thread::get_id();
  _tellingSince = std::chrono::steady_clock::now();
  return true;
}

bool RecordExchange::BeginDrain() {
  MutexLock lock(_mutex);
  _drainClaimed = false;
  if (_draining) {
    _drainAgain = true;
    return false;
  }
  _draining = true;
  return true;
}

Received RecordExchange::NextToDrain(uint32_t& type) {
  MutexLock lock(_mutex);
  const Received outcome = WaitToDrain(type);
  if (outcome != Received::kRecord && outcome != Received::kUnknown) _draining = false;
  return outcome;
}

Received RecordExchange::WaitToDrain(uint32_t& type) {
  for (;;) {
    if (_ended) return _ending;
    if (_eventWaiters > 0 || (_events.empty() && _reading)) {
      Wait(kForever);
      continue;
    }
    if (!_events.empty()) return Received::kRecord;
    const Received read = ReadOne(kNoWait, type);
    if (read == Received::kRecord || read == Received::kIgnored) continue;
    if (read != Received::kTimeout || !_drainAgain) return read;
    _drainAgain = false;
  }
}

bool RecordExchange::TakeEvent(ReceivedRecord& event) {
  MutexLock lock(_mutex);
  return _eventWaiters == 0 && TakeFirst(event);
}

bool RecordExchange::EndDrain() {
  MutexLock lock(_mutex);
  _draining = _drainAgain;
  _drainAgain = false;
  return !_draining;
}

bool RecordExchange::ClaimDrain() {
  MutexLock lock(_mutex);
  if (_events.empty() || _draining || _drainClaimed || _eventWaiters > 0 || _ended) return false;
  _drainClaimed = true;
  return true;
}

void RecordExchange::DisclaimDrain() {
  MutexLock lock(_mutex);
  _drainClaimed = false;
}

void RecordExchange::End(Received how, int error) {
  if (_ended) return;
  _ended = true;
  _ending = how;
  _endError = error;
  _reader->Interrupt(_reading);
  Wake();
}

void RecordExchange::Stop() {
  MutexLock lock(_mutex);
  End(Received::kEnded, ECANCELED);
  _keepEvents = false;
  _events.clear();
  _eventBytes = 0;
}

void RecordExchange::Close() {
  Stop();
  MutexLock lock(_mutex);
  while (_turns > 0) Wait(kForever);
}

bool RecordExchange::IsEnded() {
  MutexLock lock(_mutex);
  return _ended;
}

}  // namespace qel::config
