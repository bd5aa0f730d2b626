#include "libconfig/manager/ValuePool.h"

#include <algorithm>

#include "libconfig/base/Limits.h"

namespace qel::config {

ValuePool& ValuePool::Instance() {
  static auto* const pool = new ValuePool;
  return *pool;
}

std::unique_ptr<ConfigValue> ValuePool::Take(eConfigID_t store, eParam_t id) {
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

void ValuePool::Give(eConfigID_t store, std::unique_ptr<ConfigValue> value) {
  const eParam_t id = value->GetParamID();
  MutexLock lock(_mutex);
  _values[id].emplace_back(store, std::move(value));
}

}  // namespace qel::config
