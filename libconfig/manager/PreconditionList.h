// A store's preconditions and the updates that are being checked against them. Internal.
//
// No lock is held while a precondition is called, so that several updates are checked at once and a
// precondition may set, add and remove. Each update is registered as a walk instead: a removal
// takes effect on every walk at once, and then waits for the other threads that are inside the
// removed precondition. From inside a precondition's call nothing waits.
#pragma once

#include <algorithm>
#include <cstddef>
#include <thread>
#include <vector>

#include "libconfig/base/Mutex.h"
#include "libconfig/manager/UpdatePrecondition.h"

namespace qel::config {

class PreconditionList {
 public:
  PreconditionList() = default;
  ~PreconditionList() { DeleteAll(); }
  PreconditionList(const PreconditionList&) = delete;
  PreconditionList& operator=(const PreconditionList&) = delete;

  // Walks that are running do not reach it. Null is kept, and never called.
  void Add(UpdatePrecondition* precondition) {
    MutexLock lock(_mutex);
    _preconditions.push_back(precondition);
  }

  // Removes the first entry of `precondition`, and tells whether there was one.
  bool Remove(UpdatePrecondition* precondition) {
    MutexLock lock(_mutex);
    const auto found = std::find(_preconditions.begin(), _preconditions.end(), precondition);
    if (found == _preconditions.end()) return false;
    const auto index = static_cast<std::size_t>(found - _preconditions.begin());
    _preconditions.erase(found);
    for (Walk* const walk : _walks) {
      if (index < walk->next) --walk->next;
      if (index < walk->end) --walk->end;
    }
    if (!Contains(precondition)) WaitUntilLeft(precondition);
    return true;
  }

  void DeleteAll() {
    std::vector<UpdatePrecondition*> removed;
    {
      MutexLock lock(_mutex);
      removed.swap(_preconditions);
      for (Walk* const walk : _walks) walk->next = walk->end = 0;
      for (const UpdatePrecondition* const precondition : removed) WaitUntilLeft(precondition);
    }
    std::sort(removed.begin(), removed.end());
    removed.erase(std::unique(removed.begin(), removed.end()), removed.end());
    for (UpdatePrecondition* const precondition : removed) delete precondition;
  }

  // Hands each precondition to `check`, in order, until it answers false. True when none did.
  template <typename Check>
  bool CheckAll(Check check) {
    Walk walk(*this);
    while (UpdatePrecondition* const precondition = Next(walk)) {
      if (!check(*precondition)) return false;
    }
    return true;
  }

 private:
  struct Walk {
    explicit Walk(PreconditionList& owner) : list(owner) { list.Enter(*this); }
    ~Walk() { list.Leave(*this); }

    PreconditionList& list;
    const std::thread::id thread = std::this_thread::get_id();
    // Guarded by the list's mutex.
    std::size_t next = 0;
    std::size_t end = 0;
    UpdatePrecondition* called = nullptr;
  };

  void Enter(Walk& walk) {
    MutexLock lock(_mutex);
    _walks.push_back(&walk);
    walk.end = _preconditions.size();
  }

  UpdatePrecondition* Next(Walk& walk) {
    MutexLock lock(_mutex);
    walk.called = nullptr;
    while (walk.called == nullptr && walk.next < walk.end) {
      walk.called = _preconditions[walk.next++];
    }
    if (_waiters > 0) _left.Broadcast();
    return walk.called;
  }

  void Leave(Walk& walk) {
    MutexLock lock(_mutex);
    _walks.erase(std::find(_walks.begin(), _walks.end(), &walk));
    if (_waiters > 0) _left.Broadcast();
  }

  bool Contains(const UpdatePrecondition* precondition) const LIBCONFIG_REQUIRES(_mutex) {
    return std::find(_preconditions.begin(), _preconditions.end(), precondition) !=
           _preconditions.end();
  }
  template <typename Is>
  bool AnyWalk(Is is) const LIBCONFIG_REQUIRES(_mutex) {
    return std::any_of(_walks.begin(), _walks.end(), is);
  }
  // Until no other thread is inside a call of it. Returns at once inside a call of any of them, as
  // two that remove each other would wait for ever.
  void WaitUntilLeft(const UpdatePrecondition* precondition) LIBCONFIG_REQUIRES(_mutex) {
    const auto isOwn = [](const Walk* walk) { return walk->thread == std::this_thread::get_id(); };
    const auto isInside = [precondition](const Walk* walk) { return walk->called == precondition; };
    if (precondition == nullptr || AnyWalk(isOwn)) return;
    ++_waiters;
    while (AnyWalk(isInside)) _left.Wait(_mutex);
    --_waiters;
  }

  Mutex _mutex;
  Condition _left;  // a walk has left a precondition
  unsigned _waiters LIBCONFIG_GUARDED_BY(_mutex) = 0;
  std::vector<UpdatePrecondition*> _preconditions LIBCONFIG_GUARDED_BY(_mutex);
  std::vector<Walk*> _walks LIBCONFIG_GUARDED_BY(_mutex);
};

}  // namespace qel::config
