#include "libconfig/mapping/RecorderParamMapper.h"

#include <algorithm>
#include <boost/unordered_map.hpp>
#include <boost/unordered_set.hpp>

#include "libconfig/mapping/CParamMapper.h"
#include "libconfig/mapping/Resolver.h"

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
