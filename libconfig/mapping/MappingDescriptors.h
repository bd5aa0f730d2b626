// The recorder's proxies, and the rows of CProxyMap that belong to them. One for the process, made
// on first use and never destroyed.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/descriptors/ParamIDs.h"

// One proxy.
class LIBCONFIG_API ParamMappingDescriptor {
 public:
  explicit ParamMappingDescriptor(eParam_t proxy) : _paramID(proxy) {}
  virtual ~ParamMappingDescriptor();
  virtual eParam_t GetParamID() const;

 private:
  const eParam_t _paramID;
};

class LIBCONFIG_API MappingDescriptors {
 public:
  static MappingDescriptors* GetInstance();

  MappingDescriptors(const MappingDescriptors&) = delete;
  MappingDescriptors& operator=(const MappingDescriptors&) = delete;

  // Fills in the proxies and their rows. Later calls do nothing; any thread may call, and finds the
  // tables complete when it returns. The resolvers of this library call it.
  void CreateMappingDescriptors();

  // The descriptor stays this object's; null for what is no proxy.
  ParamMappingDescriptor* GetMappingDescriptor(eParam_t proxy);
  // All proxies, ascending.
  std::vector<eParam_t> GetProxyIDs();

 private:
  MappingDescriptors() = default;
  template <typename Rows, typename Map>
  void AddRows(const Rows& rows, Map map) LIBCONFIG_REQUIRES(_mutex);

  qel::config::Mutex _mutex;
  std::map<eParam_t, std::unique_ptr<ParamMappingDescriptor>> _descriptors
      LIBCONFIG_GUARDED_BY(_mutex);
};
