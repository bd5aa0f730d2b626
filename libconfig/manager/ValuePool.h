// Pools the values of destroyed stores for the next store. Values are never freed, because a caller
// may still hold a pointer to one; reusing them keeps a process that opens and closes stores from
// growing beyond the most stores that were open at once, and kPooledStores. A store takes the
// values of its own configuration, so that such a pointer does not reach another one; only when the
// pool is full it takes the oldest of any. The texts are freed: an empty value stays. Giving back
// allocates nothing. Any thread. Internal.
#pragma once

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <utility>

#include "libconfig/access/TextBudget.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/values/StringValue.h"

namespace qel::config {

// The values of one store.
struct StoreValues {
  struct Held {
    std::unique_ptr<ConfigValue> value;
    std::size_t textBytes = 0;  // as counted in the TextBudget
  };

  explicit StoreValues(eConfigID_t id) : store(id) {}

  eConfigID_t store;
  std::map<eParam_t, Held> inUse;
  std::map<eParam_t, Held> spare;  // of an earlier store; nobody reads them
};

class ValuePool {
 public:
  using Place = std::list<StoreValues>;  // of one

  // Never destroyed.
  static ValuePool& Instance() {
    static auto* const pool = new ValuePool;
    return *pool;
  }

  // Values that an earlier store held, all spare, or none yet.
  Place Take(eConfigID_t store) {
    Place taken;
    {
      MutexLock lock(_mutex);
      auto found = std::find_if(_pooled.begin(), _pooled.end(), [store](const StoreValues& values) {
        return values.store == store;
      });
      if (found == _pooled.end() && _pooled.size() >= limits::kPooledStores) {
        found = _pooled.begin();
      }
      if (found != _pooled.end()) taken.splice(taken.end(), _pooled, found);
    }
    if (taken.empty()) taken.emplace_back(store);
    taken.front().store = store;
    return taken;
  }

  void Give(Place&& place) noexcept {
    StoreValues& values = place.front();
    for (auto& [id, held] : values.inUse) {
      if (auto* const text = dynamic_cast<StringValue*>(held.value.get())) text->Set({});
      TextBudget::Replace(std::exchange(held.textBytes, 0), 0);
    }
    values.spare.merge(values.inUse);
    MutexLock lock(_mutex);
    _pooled.splice(_pooled.end(), place);
  }

 private:
  Mutex _mutex;
  std::list<StoreValues> _pooled LIBCONFIG_GUARDED_BY(_mutex);  // oldest first
};

}  // namespace qel::config
