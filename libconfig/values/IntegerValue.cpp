#include "libconfig/values/IntegerValue.h"

#include <cstdio>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/IntegerDescriptor.h"
#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"

IntegerValue::IntegerValue() = default;

IntegerValue::IntegerValue(eConfigID_t configID, eParam_t paramID, eParamType_t paramType,
                           unsigned int value)
    : ConfigValue(eClassID_IntegerValue, configID, paramID, paramType), _value(value) {}

IntegerValue* IntegerValue::Create(eConfigID_t configID, eParam_t paramID, eParamType_t paramType,
                                   unsigned int value) {
  return new IntegerValue(configID, paramID, paramType, value);
}

IntegerValue* IntegerValue::Create(eParam_t paramID, eParamType_t paramType, unsigned int value) {
  return Create(eConfigID_Default, paramID, paramType, value);
}

IntegerValue::~IntegerValue() = default;

bool IntegerValue::IsEqual(Serializable* other) {
  if (!ConfigValue::IsEqual(other)) return false;
  auto* const integer = dynamic_cast<IntegerValue*>(other);
  if (integer == nullptr) return false;
  // One guard after the other, never both.
  unsigned int theirs;
  unsigned int mine;
  integer->Get(theirs);
  Get(mine);
  return mine == theirs;
}

void IntegerValue::Serialize(Serializer* serializer) {
  ConfigValue::Serialize(serializer);
  SemaphoreHelper guard(_guard);
  serializer->Write("IntegerValue", _value);
}

void IntegerValue::Deserialize(DeSerializer* deserializer) {
  ConfigValue::Deserialize(deserializer);
  SemaphoreHelper guard(_guard);
  deserializer->Read("IntegerValue", _value);
}

ConfigValue* IntegerValue::Clone() {
  SemaphoreHelper guard(_guard);
  return new IntegerValue(GetConfigID(), GetParamID(), GetParamType(), _value);
}

void IntegerValue::Copy(ConfigValue& other) {
  ConfigValue::Copy(other);
  CopyValue(other);
}

void IntegerValue::CopyValue(ConfigValue& other) {
  auto* const integer = dynamic_cast<IntegerValue*>(&other);
  if (integer == nullptr) return;
  unsigned int value;
  integer->Get(value);
  Set(value);
}

void IntegerValue::ResetToFactory() {
  const auto* const descriptor = dynamic_cast<IntegerDescriptor*>(FindDescriptor(GetParamID()));
  if (descriptor != nullptr) Set(descriptor->GetFactoryDefault());
}

std::string IntegerValue::ToString() {
  unsigned int value;
  Get(value);
  char text[48];
  std::snprintf(text, sizeof text, ", value = %d = 0X%x", static_cast<int>(value), value);
  return ConfigValue::ToString() + text;
}

void IntegerValue::Set(unsigned int value) {
  SemaphoreHelper guard(_guard);
  if (value == _value) return;
  _value = value;
  SetDirty(true);
}

void IntegerValue::Get(unsigned int& value) {
  SemaphoreHelper guard(_guard);
  value = _value;
}
