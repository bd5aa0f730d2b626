#include "libconfig/mapping/CParamMapper.h"

#include "libconfig/access/Outcome.h"
#include "libconfig/mapping/MappingDescriptors.h"
#include "libconfig/mapping/Resolver.h"

using qel::config::Outcome;
using qel::config::SetOutcome;

CParamMapper::CParamMapper(Config* config) : _config(config), _proxyMap(CProxyMap::GetInstance()) {
  MappingDescriptors::GetInstance()->CreateMappingDescriptors();
}

eParam_t CParamMapper::MapParamID(eParam_t id) const {
  const qel::config::Resolution* const resolution = qel::config::FindResolution(id);
  if (resolution == nullptr) {
    SetOutcome(Outcome::kDone);
    return id;
  }
  if (_config == nullptr) {
    SetOutcome(Outcome::kNoConnection);
    return id;
  }
  unsigned int value;
  if (!qel::config::TryGet(*_config, resolution->selector, value)) return id;
  SetOutcome(Outcome::kDone);
  return resolution->lookUp(*_proxyMap, id, value);
}

eParam_t CParamMapper::MapAFV(eParam_t id) const { return id; }
