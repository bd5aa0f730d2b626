#include "libconfig/mapping/CParamMapper.h"

#include <chrono>

#include "libconfig/access/Config.h"
#include "libconfig/base/Limits.h"
#include "libconfig/mapping/MappingDescriptors.h"
#include "libconfig/mapping/Resolver.h"

CParamMapper::CParamMapper(Config* config) : _config(config), _proxyMap(CProxyMap::GetInstance()) {
  MappingDescriptors::GetInstance()->CreateMappingDescriptors();
}

eParam_t CParamMapper::MapParamID(eParam_t id) const {
  eParam_t concrete = id;
  const auto start = std::chrono::steady_clock::now();
  if (Resolve(id, concrete) || _config == nullptr) return concrete;
  // A peer that has kept us waiting is not asked twice.
  if (std::chrono::steady_clock::now() - start > qel::config::limits::kAtOnce) return id;
  const qel::config::Resolution* const resolution = qel::config::FindResolution(id);
  const unsigned int value = _config->Get(resolution->selector);
  return value == 0 ? id : resolution->lookUp(*_proxyMap, id, value);
}

bool CParamMapper::Resolve(eParam_t id, eParam_t& concrete) const {
  concrete = id;
  const qel::config::Resolution* const resolution = qel::config::FindResolution(id);
  if (resolution == nullptr) return true;
  unsigned int value;
  if (_config == nullptr || _config->Get(resolution->selector, value) == 0) return false;
  concrete = resolution->lookUp(*_proxyMap, id, value);
  return true;
}

eParam_t CParamMapper::MapAFV(eParam_t id) const { return id; }
