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
  if (!_overflow) _events.push_back(std::move(event));
  _changed.Signal();
}

bool EventQueue::Take(std::chrono::milliseconds limit, Event& event) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  MutexLock lock(_mutex);
  while (_events.empty()) {
    if (_overflow || !_changed.WaitUntil(_mutex, deadline)) return false;
  }
  event = std::move(_events.front());
  _events.pop_front();
  return true;
}

void EventQueue::Forget(eParam_t id) {
  MutexLock lock(_mutex);
  const auto isOfThis = [id](const Event& event) { return event.id == id; };
  _events.erase(std::remove_if(_events.begin(), _events.end(), isOfThis), _events.end());
}

bool EventQueue::TakeOverflow() {
  MutexLock lock(_mutex);
  return std::exchange(_overflow, false);
}

}  // namespace configctl
