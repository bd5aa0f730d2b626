// Registered listeners and the delivery of events to them. Internal.
//
// One semaphore guards the list, and is held from the beginning to the end of a Delivery; the
// thread that holds it is remembered, so that a listener may change the list from inside its call.
// Another thread's Add or Remove waits for the running delivery.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <thread>
#include <vector>

#include "libconfig/values/SemaphoreHelper.h"

class ConfigEventListener;

namespace qel::config {

class ListenerList {
 public:
  enum class Duplicates { kAllow, kIgnore };

  // Appends; a listener that joins during a delivery hears the next event. False for null.
  bool Add(ConfigEventListener* listener, Duplicates duplicates = Duplicates::kAllow);
  // Removes the first entry of `listener`, and tells whether there was one.
  bool Remove(ConfigEventListener* listener);
  void RemoveAll();
  // From now on no listener is called, but for the call that goes on. Does not wait for that.
  void Close() { _closed = true; }
  // Ends the calling thread's delivery, if it is inside one: it reaches no further listener, and
  // the list is unlocked. For a caller that is about to wait for a thread which may want the list.
  void QuitDelivery();
  // Whether the calling thread is inside a listener's call, or holds the list.
  bool IsHeldByCaller() const {
    return _owner.load(std::memory_order_relaxed) == std::this_thread::get_id();
  }
  // Does not wait for a running delivery.
  bool IsEmpty() const { return _count.load(std::memory_order_relaxed) == 0; }

  // Holds the list while one change and its consequences are delivered.
  class Delivery {
   public:
    explicit Delivery(ListenerList& list);
    ~Delivery();
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    // True inside a listener's call: the list is in the middle of an event, and another one has to
    // wait until it is through.
    bool IsNested() const { return _nested; }

    // Runs `tell(delivery)`, which calls ToAll, and then what was announced from inside those
    // calls. From inside a call it only queues `tell`. When a listener throws, what is queued is
    // dropped: by the next event it would be out of date.
    template <typename Tell>
    void Announce(Tell tell) {
      if (_nested) {
        _list._waiting.emplace_back(std::move(tell));
        return;
      }
      tell(*this);
      while (_list.IsHeldByCaller() && !_list._waiting.empty()) {
        const auto next = std::move(_list._waiting.front());
        _list._waiting.pop_front();
        next(*this);
      }
    }

    // REQUIRES: not nested.
    template <typename Call>
    void ToAll(Call call) {
      _list._next = 0;
      _list._end = _list._listeners.size();
      while (ConfigEventListener* const listener = _list.Next()) {
        call(*listener);
        if (!_list.IsHeldByCaller()) return;
      }
    }

   private:
    ListenerList& _list;
    const bool _nested;
  };

 private:
  ConfigEventListener* Next() { return _next < _end && !_closed ? _listeners[_next++] : nullptr; }

  Semaphore _lock;
  std::atomic<std::thread::id> _owner{};
  std::atomic<std::size_t> _count{0};  // of _listeners
  std::atomic<bool> _closed{false};
  // The rest is only touched by the owner.
  std::vector<ConfigEventListener*> _listeners;
  // Of the running event: who hears it next, and where those end who do.
  std::size_t _next = 0;
  std::size_t _end = 0;
  std::deque<std::function<void(Delivery&)>> _waiting;
};

}  // namespace qel::config
