// One catalogue: a map of descriptors that is built aside and published at once. Internal.
//
// The mutex serialises building and destroying; lookups only load the published pointer.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "libconfig/base/Mutex.h"
#include "libconfig/descriptors/ParamDescriptor.h"

namespace qel::config {

using DescriptorMap = std::map<eParam_t, std::unique_ptr<ParamDescriptor>>;

class DescriptorRegistry {
 public:
  // Runs `build` on an empty map and publishes it, unless the catalogue exists already.
  void Create(const std::function<void(DescriptorMap&)>& build);
  void Destroy();

  // Runs `pass` on the published catalogue, one pass at a time.
  void Amend(const std::function<void(const DescriptorMap&)>& pass);

  // Null when there is no such parameter.
  ParamDescriptor* Find(eParam_t id) const;
  ParamDescriptor* Find(const std::string& idName) const;
  // Find, or a new placeholder that nobody owns.
  ParamDescriptor* FindOrMakePlaceholder(eParam_t id) const;
  std::vector<eParam_t> GetIDs() const;
  std::vector<std::string> GetIDNames() const;

  // The catalogue as it stands; empty before Create.
  const DescriptorMap& Published() const;

 private:
  Mutex _mutex;
  std::atomic<const DescriptorMap*> _published{nullptr};
};

}  // namespace qel::config
