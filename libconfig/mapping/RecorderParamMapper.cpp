#include "libconfig/mapping/RecorderParamMapper.h"

#include <algorithm>
#include <boost/unordered_map.hpp>
#include <boost/unordered_set.hpp>

#include "libconfig/access/Outcome.h"
#include "libconfig/mapping/CParamMapper.h"
#include "libconfig/mapping/CProxyMap.h"
#include "libconfig/mapping/MappingDescriptors.h"
#include "libconfig/mapping/ProxyFamilies.h"

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
  return _proxyMap->_families->Find(resolution->family, id, value);
}

eParam_t CParamMapper::MapAFV(eParam_t id) const { return id; }

namespace qel::vorlane::config::access {

ParamMapper::~ParamMapper() = default;

void ParamMapper::UseConfig(Config*) {}

}  // namespace qel::vorlane::config::access

namespace quarn::mapper {

struct RecorderParamMapper::Reverse {
  Reverse() {
    for (const qel::config::Resolution& row : qel::config::GetResolutions()) {
      const auto concretes = CProxyMap::GetInstance()->GetConcreteParams(row.proxy);
      // Without rows it is a parameter like any other.
      if (concretes.empty()) continue;
      proxies[row.proxy].insert(row.proxy);
      proxies[row.selector].insert(row.proxy);
      for (const eParam_t concrete : concretes) proxies[concrete].insert(row.proxy);
    }
  }

  boost::unordered_map<eParam_t, boost::unordered_set<eParam_t>> proxies;
};

RecorderParamMapper::RecorderParamMapper(Config* config)
    : _forward(std::make_unique<const CParamMapper>(config)),
      _reverse(std::make_unique<const Reverse>()) {}

RecorderParamMapper::~RecorderParamMapper() = default;

void RecorderParamMapper::UseConfig(Config* config) {
  _forward = std::make_unique<const CParamMapper>(config);
}

eParam_t RecorderParamMapper::MapParamID(eParam_t id) { return _forward->MapParamID(id); }

std::vector<eParam_t> RecorderParamMapper::ParamsChangedBy(eParam_t id) {
  const auto found = _reverse->proxies.find(id);
  if (found == _reverse->proxies.end()) return {};
  std::vector<eParam_t> changed(found->second.begin(), found->second.end());
  std::sort(changed.begin(), changed.end());
  return changed;
}

}  // namespace quarn::mapper
