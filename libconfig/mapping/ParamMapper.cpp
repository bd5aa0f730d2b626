#include "libconfig/mapping/ParamMapper.h"

namespace qel::vorlane::config::access {

ParamMapper::~ParamMapper() = default;

void ParamMapper::UseConfig(Config*) {}

}  // namespace qel::vorlane::config::access
