#include "libconfig/access/queue/QueueInbox.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "libconfig/base/Limits.h"

namespace qel::config {

bool QueueMessage::IsEvent() const {
  return size >= sizeof record && (record.msgtype == XCFG_PARAM_CHANGED_EVENT ||
                                   record.msgtype == XCFG_PARAM_STREAM_CHANGED_EVENT);
}

bool QueueMessage::HasStream() const {
  return record.streamLength != 0 && record.streamLength <= stream.size();
}

QueueInbox::QueueInbox(mqd_t queue, std::size_t messageSize)
    : _queue(queue),
      _wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      _error(_wake < 0 ? errno : 0),
      _buffer(messageSize) {}

QueueInbox::~QueueInbox() {
  if (_wake >= 0) ::close(_wake);
}

void QueueInbox::Expect(uint32_t requestID) {
  MutexLock lock(_mutex);
  _waiting = true;
  _answered = false;
  _requestID = requestID;
}

void QueueInbox::ExpectNothing() {
  MutexLock lock(_mutex);
  _waiting = false;
}

void QueueInbox::Abandon(uint32_t requestID) {
  MutexLock lock(_mutex);
  // The numbers ascend, so that the first is the oldest.
  if (_abandoned.size() >= limits::kAbandonedRequests) _abandoned.erase(_abandoned.begin());
  _abandoned.insert(requestID);
}

// The only reader, with the lock released while it exists. A reader may be cancelled.
class QueueInbox::Reading {
 public:
  explicit Reading(QueueInbox& inbox) LIBCONFIG_NO_THREAD_SAFETY_ANALYSIS : _inbox(inbox) {
    _inbox._reading = true;
    _inbox._mutex.unlock();
  }
  ~Reading() LIBCONFIG_NO_THREAD_SAFETY_ANALYSIS {
    _inbox._mutex.lock();
    _inbox._reading = false;
    _inbox._changed.Broadcast();
  }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

 private:
  QueueInbox& _inbox;
};

// Leaves the message where it belongs.
QueueInbox::Outcome QueueInbox::ReadOne(Patience patience, QueueClock::time_point deadline,
                                        uint32_t& type) {
  ssize_t length = -1;
  int error;
  {
    const Reading reading(*this);
    switch (patience) {
      case Patience::kNone:
        length = ReceiveQueued(_queue, _buffer.data(), _buffer.size());
        break;
      case Patience::kDeadline:
        length = ReceiveFromQueue(_queue, _buffer.data(), _buffer.size(), deadline, _wake);
        break;
      case Patience::kEndless:
        length = WaitForQueue(_queue, _buffer.data(), _buffer.size(), _wake);
        break;
    }
    error = errno;
  }
  if (length >= 0) return Sort(static_cast<std::size_t>(length), type);
  errno = error;
  switch (error) {
    case EAGAIN:
      return Outcome::kEmpty;
    case ETIMEDOUT:
      return Outcome::kTimeout;
    case ECANCELED:
      return Outcome::kClosed;
    default:
      return Outcome::kFailed;
  }
}

QueueInbox::Outcome QueueInbox::Sort(std::size_t size, uint32_t& type) {
  if (size == 0 && _closed) return Outcome::kReady;  // of Close
  QueueMessage message;
  message.size = size;
  std::memcpy(&message.record, _buffer.data(), std::min(size, sizeof message.record));
  if (size > sizeof message.record) {
    message.stream.assign(_buffer.data() + sizeof message.record, _buffer.data() + size);
  }
  type = message.record.msgtype;
  if (message.IsEvent()) {
    if (_keepEvents && _events.size() < limits::kKeptEvents) _events.push_back(std::move(message));
    return Outcome::kReady;
  }
  if (_abandoned.erase(message.record.requestID) != 0) return Outcome::kReady;
  if (!_waiting || _answered) return Outcome::kUnknown;
  _answer = std::move(message);
  _answered = true;
  return Outcome::kReady;
}

QueueInbox::Outcome QueueInbox::AwaitAnswer(QueueMessage& answer, QueueClock::time_point deadline) {
  MutexLock lock(_mutex);
  Outcome outcome = Outcome::kReady;
  while (!_answered) {
    if (_closed) {
      errno = ECANCELED;
      outcome = Outcome::kClosed;
    } else if (_reading) {
      if (_changed.WaitUntil(_mutex, deadline)) continue;
      errno = ETIMEDOUT;
      outcome = _answered ? Outcome::kReady : Outcome::kTimeout;
    } else {
      uint32_t type;
      outcome = ReadOne(Patience::kDeadline, deadline, type);
      const bool read = outcome == Outcome::kReady || outcome == Outcome::kUnknown;
      // However much comes: it is not the answer.
      if (read && !_answered && QueueClock::now() >= deadline) {
        errno = ETIMEDOUT;
        outcome = Outcome::kTimeout;
      } else if (read) {
        continue;
      }
    }
    break;
  }
  _waiting = false;
  if (_answered) {
    answer = std::move(_answer);
    return Outcome::kReady;
  }
  return outcome;
}

void QueueInbox::KeepEvents(bool keep) {
  MutexLock lock(_mutex);
  _keepEvents = keep;
  if (!keep) _events.clear();
}

bool QueueInbox::HasEvents() {
  MutexLock lock(_mutex);
  return !_events.empty();
}

bool QueueInbox::ClaimDrain() {
  MutexLock lock(_mutex);
  if (_events.empty() || _draining || _drainClaimed || _eventWaiters > 0 || _closed) return false;
  _drainClaimed = true;
  return true;
}

void QueueInbox::DisclaimDrain() {
  MutexLock lock(_mutex);
  _drainClaimed = false;
}

bool QueueInbox::TakeEvent(QueueMessage& event) {
  MutexLock lock(_mutex);
  return _eventWaiters == 0 && TakeFirst(event);
}

bool QueueInbox::TakeAwaitedEvent(QueueMessage& event) {
  MutexLock lock(_mutex);
  return TakeFirst(event);
}

bool QueueInbox::TakeFirst(QueueMessage& event) {
  if (_events.empty()) return false;
  event = std::move(_events.front());
  _events.pop_front();
  return true;
}

bool QueueInbox::BeginDrain() {
  MutexLock lock(_mutex);
  _drainClaimed = false;
  if (_draining) {
    _drainAgain = true;
    return false;
  }
  _draining = true;
  return true;
}

bool QueueInbox::EndDrain() {
  MutexLock lock(_mutex);
  _draining = _drainAgain;
  _drainAgain = false;
  return !_draining;
}

QueueInbox::Outcome QueueInbox::NextToDrain(uint32_t& type) {
  MutexLock lock(_mutex);
  const Outcome outcome = WaitToDrain(type);
  if (outcome != Outcome::kReady && outcome != Outcome::kUnknown) _draining = false;
  return outcome;
}

QueueInbox::Outcome QueueInbox::WaitToDrain(uint32_t& type) {
  for (;;) {
    if (_closed) return Outcome::kClosed;
    if (_eventWaiters > 0 || (_events.empty() && _reading)) {
      _changed.Wait(_mutex);
      continue;
    }
    if (!_events.empty()) return Outcome::kReady;
    const Outcome outcome = ReadOne(Patience::kNone, {}, type);
    if (outcome == Outcome::kReady) continue;
    if (outcome != Outcome::kEmpty || !_drainAgain) return outcome;
    _drainAgain = false;
  }
}

QueueInbox::EventWait::EventWait(QueueInbox& inbox) : _inbox(inbox) {
  MutexLock lock(_inbox._mutex);
  ++_inbox._eventWaiters;
}

QueueInbox::EventWait::~EventWait() {
  MutexLock lock(_inbox._mutex);
  --_inbox._eventWaiters;
  _inbox._changed.Broadcast();
}

QueueInbox::Outcome QueueInbox::AwaitEvent(uint32_t& type) {
  MutexLock lock(_mutex);
  Outcome outcome = Outcome::kReady;
  while (_events.empty()) {
    if (_closed || _error != 0) {
      errno = _error;
      outcome = _closed ? Outcome::kClosed : Outcome::kFailed;
      break;
    }
    if (_reading) {
      _changed.Wait(_mutex);
      continue;
    }
    outcome = ReadOne(Patience::kEndless, {}, type);
    if (outcome != Outcome::kReady) break;
  }
  return outcome;
}

void QueueInbox::Close() {
  MutexLock lock(_mutex);
  _closed = true;
  const uint64_t one = 1;
  if (::write(_wake, &one, sizeof one) < 0) errno = 0;  // it is readable already
  // While the queue blocks its reader looks at nothing else.
  if (_reading) WakeReceiver(_queue);
  _changed.Broadcast();
}

bool QueueInbox::IsClosed() {
  MutexLock lock(_mutex);
  return _closed;
}

}  // namespace qel::config
