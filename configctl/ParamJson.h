// A parameter's descriptor as JSON, the same object in every answer.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "libconfig/descriptors/ParamDescriptor.h"

namespace configctl {

// "enumeration", "address", "number" or "text".
std::string TypeName(const ParamDescriptor& param);

// What the parameter is; describe adds how it is tied to others.
nlohmann::ordered_json ParamToJson(const ParamDescriptor& param);

// A relation as it is seen from either end: `other` is the parameter at the far end, and `value`
// that of the parameter which the relation names.
struct Tie {
  std::string relation;
  eParam_t other;
  unsigned int value;
};
std::vector<Tie> TiesFrom(const ParamDescriptor& param);
// Those that other parameters declare.
std::vector<Tie> TiesTo(const ParamDescriptor& param);

nlohmann::ordered_json TiesToJson(const ParamDescriptor& param);

}  // namespace configctl
