#include "libconfig/manager/UpdatePreconditionValues.h"

#include "libconfig/access/Config.h"
#include "libconfig/descriptors/EnumDescriptor.h"

namespace qel::config {

bool UpdatePreconditionValues::IsUpdateValid(Config* config, eParam_t param, unsigned int& value) {
  ParamDescriptor* const descriptor = config->GetParamDescriptor(param);
  if (descriptor == nullptr) return false;
  // An enumeration is an integer too, but is never clamped.
  if (auto* const choices = dynamic_cast<EnumDescriptor*>(descriptor)) {
    return IsValidEnum(choices, value);
  }
  if (auto* const number = dynamic_cast<IntegerDescriptor*>(descriptor)) {
    if (!IsValidRange(number, value)) ForceValidRange(number, value);
  }
  return true;
}

bool UpdatePreconditionValues::IsUpdateValid(Config*, eParam_t, std::string&) { return true; }

bool UpdatePreconditionValues::IsUpdateValid(Config*, eParam_t, Serializable&) { return true; }

bool UpdatePreconditionValues::IsValidEnum(EnumDescriptor* descriptor, unsigned int& value) {
  return descriptor->HasValue(value);
}

bool UpdatePreconditionValues::IsValidRange(IntegerDescriptor* descriptor, unsigned int& value) {
  return descriptor->GetMinValue() <= value && value <= descriptor->GetMaxValue();
}

void UpdatePreconditionValues::ForceValidRange(IntegerDescriptor* descriptor, unsigned int& value) {
  if (value < descriptor->GetMinValue()) {
    value = descriptor->GetMinValue();
  } else if (value > descriptor->GetMaxValue()) {
    value = descriptor->GetMaxValue();
  }
}

}  // namespace qel::config
