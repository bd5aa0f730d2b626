#include "libconfig/access/ListenerList.h"

#include <algorithm>

namespace qel::config {

ListenerList::Delivery::Delivery(ListenerList& list) : _list(list), _nested(list.IsHeldByCaller()) {
  if (_nested) return;
  SemaphoreHelper::Wait(_list._lock.Get());
  _list._owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

ListenerList::Delivery::~Delivery() {
  if (!_nested) _list.QuitDelivery();
}

void ListenerList::QuitDelivery() {
  if (!IsHeldByCaller()) return;
  _end = 0;
  _waiting.clear();
  _owner.store({}, std::memory_order_relaxed);
  SemaphoreHelper::Post(_lock.Get());
}

bool ListenerList::Add(ConfigEventListener* listener, Duplicates duplicates) {
  if (listener == nullptr) return false;
  const Delivery hold(*this);
  if (duplicates == Duplicates::kIgnore &&
      std::find(_listeners.begin(), _listeners.end(), listener) != _listeners.end()) {
    return true;
  }
  _listeners.push_back(listener);
  _count = _listeners.size();
  return true;
}

bool ListenerList::Remove(ConfigEventListener* listener) {
  const Delivery hold(*this);
  const auto found = std::find(_listeners.begin(), _listeners.end(), listener);
  if (found == _listeners.end()) return false;
  const auto index = static_cast<std::size_t>(found - _listeners.begin());
  _listeners.erase(found);
  _count = _listeners.size();
  if (index < _end) --_end;
  if (index < _next) --_next;
  return true;
}

void ListenerList::RemoveAll() {
  const Delivery hold(*this);
  _listeners.clear();
  _waiting.clear();
  _count = 0;
  _next = 0;
  _end = 0;
}

}  // namespace qel::config
