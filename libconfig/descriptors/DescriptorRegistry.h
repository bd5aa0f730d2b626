// One catalogue: a map of descriptors that is built aside and published at once. Internal.
//
// The map is one that programs may name. The mutex serialises building and destroying. Lookups take
// no lock once the catalogue is published; before that they wait for a build in progress.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "libconfig/base/Mutex.h"
#include "libconfig/descriptors/Catalogue.h"

namespace qel::config {

class DescriptorRegistry {
 public:
  // Runs `build` on an empty map and publishes it, unless the catalogue exists already.
  void Create(void (*build)(DescriptorMap&));
  void Destroy();

  // Runs `pass` on the catalogue, one pass at a time.
  void Amend(void (*pass)(const DescriptorMap&));

  // Null when there is no such parameter.
  ParamDescriptor* Find(eParam_t id) const;
  ParamDescriptor* Find(const std::string& idName) const;
  // Find, or a new placeholder without an owner.
  ParamDescriptor* FindOrMakePlaceholder(eParam_t id) const;
  std::vector<eParam_t> GetIDs() const;
  std::vector<std::string> GetIDNames() const;

  // visit(map)
  template <typename Visit>
  auto Read(Visit visit) const {
    if (_published.load(std::memory_order_acquire)) return visit(_map);
    MutexLock lock(_mutex);
    return visit(_map);
  }

  DescriptorMap& Map() { return _map; }

 private:
  mutable Mutex _mutex;
  std::atomic<bool> _published{false};
  DescriptorMap _map;
};

// visit(descriptor) for each, in the order of the identifiers. A program that subscripts the map
// with an unknown identifier leaves a null behind, which is no descriptor.
template <typename Visit>
void ForEachDescriptor(const DescriptorMap& map, Visit visit) {
  for (const auto& entry : map) {
    if (entry.second != nullptr) visit(*entry.second);
  }
}

}  // namespace qel::config
