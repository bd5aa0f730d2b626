#include "libconfig/manager/ValuePool.h"

namespace qel::config {

ValuePool& ValuePool::Instance() {
  static auto* const pool = new ValuePool;
  return *pool;
}

std::unique_ptr<ConfigValue> ValuePool::Take(eParam_t id) {
  MutexLock lock(_mutex);
  const auto found = _values.find(id);
  if (found == _values.end() || found->second.empty()) return nullptr;
  std::unique_ptr<ConfigValue> value = std::move(found->second.back());
  found->second.pop_back();
  return value;
}

void ValuePool::Give(std::unique_ptr<ConfigValue> value) {
  const eParam_t id = value->GetParamID();
  MutexLock lock(_mutex);
  _values[id].push_back(std::move(value));
}

}  // namespace qel::config
