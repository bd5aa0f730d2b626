// Pools the values of destroyed stores for the next store. Values are never freed, because a caller
// may still hold a pointer to one; reusing them keeps a process that opens and closes stores from
// growing. A store takes values of its own configuration, so that such a pointer does not reach
// another one; only when the pool is full it takes the oldest of any. Any thread. Internal.
#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <utility>

#include "libconfig/base/Limits.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/values/ConfigValue.h"

namespace qel::config {

class ValuePool {
 public:
  // Never destroyed.
  static ValuePool& Instance() {
    static auto* const pool = new ValuePool;
    return *pool;
  }

  // A value that an earlier store held for `id`, or null.
  std::unique_ptr<ConfigValue> Take(eConfigID_t store, eParam_t id) {
    MutexLock lock(_mutex);
    const auto entry = _values.find(id);
    if (entry == _values.end()) return nullptr;
    std::deque<Pooled>& pooled = entry->second;
    auto found = std::find_if(pooled.begin(), pooled.end(),
                              [store](const Pooled& one) { return one.first == store; });
    if (found == pooled.end()) {
      if (pooled.size() < limits::kPooledValues) return nullptr;
      found = pooled.begin();
    }
    std::unique_ptr<ConfigValue> value = std::move(found->second);
    pooled.erase(found);
    return value;
  }

  void Give(eConfigID_t store, std::unique_ptr<ConfigValue> value) {
    const eParam_t id = value->GetParamID();
    MutexLock lock(_mutex);
    _values[id].emplace_back(store, std::move(value));
  }

 private:
  using Pooled = std::pair<eConfigID_t, std::unique_ptr<ConfigValue>>;

  Mutex _mutex;
  std::map<eParam_t, std::deque<Pooled>> _values LIBCONFIG_GUARDED_BY(_mutex);  // oldest first
};

}  // namespace qel::config
