#include "libconfig/descriptors/DescriptorRegistry.h"

#include <cstdio>

namespace qel::config {

void DescriptorRegistry::Create(const std::function<void(DescriptorMap&)>& build) {
  MutexLock lock(_mutex);
  if (!Published().empty()) return;
  auto map = std::make_unique<DescriptorMap>();
  build(*map);
  delete _published.exchange(map.release(), std::memory_order_acq_rel);
}

void DescriptorRegistry::Destroy() {
  MutexLock lock(_mutex);
  delete _published.exchange(nullptr, std::memory_order_acq_rel);
}

void DescriptorRegistry::Amend(const std::function<void(const DescriptorMap&)>& pass) {
  MutexLock lock(_mutex);
  pass(Published());
}

const DescriptorMap& DescriptorRegistry::Published() const {
  static const auto* const none = new DescriptorMap;
  const DescriptorMap* const map = _published.load(std::memory_order_acquire);
  return map == nullptr ? *none : *map;
}

ParamDescriptor* DescriptorRegistry::Find(eParam_t id) const {
  const DescriptorMap& map = Published();
  const auto found = map.find(id);
  return found == map.end() ? nullptr : found->second.get();
}

ParamDescriptor* DescriptorRegistry::Find(const std::string& idName) const {
  for (const auto& entry : Published()) {
    if (entry.second->GetParamIDName() == idName) return entry.second.get();
  }
  return nullptr;
}

ParamDescriptor* DescriptorRegistry::FindOrMakePlaceholder(eParam_t id) const {
  if (ParamDescriptor* const found = Find(id)) return found;
  char name[16];
  std::snprintf(name, sizeof name, "%u.%u.%u.%u", id >> 24 & 0xff, id >> 16 & 0xff, id >> 8 & 0xff,
                id & 0xff);
  auto* const placeholder = new ParamDescriptor;
  placeholder->SetParamID(id);
  placeholder->SetParamIDName(name);
  placeholder->SetName(name);
  return placeholder;
}

std::vector<eParam_t> DescriptorRegistry::GetIDs() const {
  std::vector<eParam_t> ids;
  ids.reserve(Published().size());
  for (const auto& entry : Published()) ids.push_back(entry.first);
  return ids;
}

std::vector<std::string> DescriptorRegistry::GetIDNames() const {
  std::vector<std::string> names;
  names.reserve(Published().size());
  for (const auto& entry : Published()) names.push_back(entry.second->GetParamIDName());
  return names;
}

}  // namespace qel::config
