#include "configctl/EventQueue.h"

#include <algorithm>
#include <utility>

using qel::config::MutexLock;

namespace configctl {
namespace {

// While the reader of the output stands still.
constexpr std::size_t kMostEvents = 65536;

}  // namespace

void EventQueue::ParamChanged(eParam_t param, unsigned int value, timeval when) {
  Push({param, value, when});
}

void EventQueue::ParamChanged(eParam_t param, std::string value, timeval when) {
  Push({param, std::move(value), when});
}

void EventQueue::Push(Event event) {
  MutexLock lock(_mutex);
  if (_events.size() >= kMostEvents) {
    _overflow = true;
    _events.clear();
  }
  if (!_overflow) _events.push_back({++_lastNumber, std::move(event)});
  _changed.Signal();
}

bool EventQueue::Take(std::chrono::milliseconds limit, Event& event) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  MutexLock lock(_mutex);
  while (_events.empty()) {
    if (_overflow || !_changed.WaitUntil(_mutex, deadline)) return false;
  }
  event = std::move(_events.front().event);
  _events.pop_front();
  return true;
}

uint64_t EventQueue::GetMark() {
  MutexLock lock(_mutex);
  return _lastNumber;
}

// What came before the value was asked for had been stored before. Of what came since, the event
// that brought this value, and whatever is before it, is no news; it may yet have to come, when the
// value was read between being stored and being announced.
bool EventQueue::Reconcile(eParam_t id, const programs::Value& value, uint64_t mark) {
  MutexLock lock(_mutex);
  uint64_t last = mark;
  bool undecided = false;
  for (const Numbered& entry : _events) {
    if (entry.event.id != id || entry.number <= mark) continue;
    undecided = entry.event.value != value;
    if (undecided) continue;
    last = entry.number;
    break;
  }
  const auto isOld = [&](const Numbered& entry) {
    return entry.event.id == id && entry.number <= last;
  };
  _events.erase(std::remove_if(_events.begin(), _events.end(), isOld), _events.end());
  return !undecided;
}

bool EventQueue::TakeOverflow() {
  MutexLock lock(_mutex);
  return std::exchange(_overflow, false);
}

}  // namespace configctl
