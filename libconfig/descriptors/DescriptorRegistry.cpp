#include "libconfig/descriptors/DescriptorRegistry.h"

#include <cstdio>

namespace qel::config {

void DescriptorRegistry::Create(void (*build)(DescriptorMap&)) {
  MutexLock lock(_mutex);
  bool exists = false;
  ForEachDescriptor(_map, [&](const ParamDescriptor&) { exists = true; });
  if (!exists) {
    DescriptorMap map;
    build(map);
    _map.swap(map);
  }
  _published.store(true, std::memory_order_release);
}

void DescriptorRegistry::Destroy() {
  MutexLock lock(_mutex);
  _published.store(false, std::memory_order_release);
  for (const auto& entry : _map) delete entry.second;
  _map.clear();
}

void DescriptorRegistry::Amend(void (*pass)(const DescriptorMap&)) {
  MutexLock lock(_mutex);
  pass(_map);
}

ParamDescriptor* DescriptorRegistry::Find(eParam_t id) const {
  return Read([id](const DescriptorMap& map) {
    const auto found = map.find(id);
    return found == map.end() ? nullptr : found->second;
  });
}

ParamDescriptor* DescriptorRegistry::Find(const std::string& idName) const {
  return Read([&idName](const DescriptorMap& map) -> ParamDescriptor* {
    for (const auto& entry : map) {
      if (entry.second != nullptr && entry.second->GetParamIDName() == idName) return entry.second;
    }
    return nullptr;
  });
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
  Read([&ids](const DescriptorMap& map) {
    ids.reserve(map.size());
    for (const auto& entry : map) {
      if (entry.second != nullptr) ids.push_back(entry.first);
    }
  });
  return ids;
}

std::vector<std::string> DescriptorRegistry::GetIDNames() const {
  std::vector<std::string> names;
  Read([&names](const DescriptorMap& map) {
    names.reserve(map.size());
    ForEachDescriptor(map, [&names](const ParamDescriptor& descriptor) {
      names.push_back(descriptor.GetParamIDName());
    });
  });
  return names;
}

}  // namespace qel::config
