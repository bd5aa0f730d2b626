#include "libconfig/mapping/ParamMapper.h"

namespace qel::vorlane::config::access {

ParamMapper::~ParamMapper() = default;

void ParamMapper::UseConfig(Config*) {}

bool ParamMapper::Resolve(eParam_t id, eParam_t& concrete) {
  concrete = MapParamID(id);
  return true;
}

}  // namespace qel::vorlane::config::access
