#include "libconfig/values/StringValue.h"

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"

StringValue::StringValue() = default;

StringValue::StringValue(eConfigID_t configID, eParam_t paramID, eParamType_t paramType,
                         std::string value)
    : ConfigValue(eClassID_StringValue, configID, paramID, paramType), _value(std::move(value)) {}

StringValue* StringValue::Create(eConfigID_t configID, eParam_t paramID, eParamType_t paramType,
                                 std::string value) {
  return new StringValue(configID, paramID, paramType, std::move(value));
}

StringValue* StringValue::Create(eParam_t paramID, eParamType_t paramType, std::string value) {
  return Create(eConfigID_Default, paramID, paramType, std::move(value));
}

StringValue::~StringValue() = default;

bool StringValue::IsEqual(Serializable* other) {
  if (!ConfigValue::IsEqual(other)) return false;
  auto* const text = dynamic_cast<StringValue*>(other);
  if (text == nullptr) return false;
  // One guard after the other, never both.
  std::string theirs;
  std::string mine;
  text->Get(theirs);
  Get(mine);
  return mine == theirs;
}

void StringValue::Serialize(Serializer* serializer) {
  ConfigValue::Serialize(serializer);
  SemaphoreHelper guard(_guard);
  serializer->Write("StringValue", _value);
}

void StringValue::Deserialize(DeSerializer* deserializer) {
  ConfigValue::Deserialize(deserializer);
  SemaphoreHelper guard(_guard);
  deserializer->Read("StringValue", _value);
}

ConfigValue* StringValue::Clone() {
  SemaphoreHelper guard(_guard);
  return new StringValue(GetConfigID(), GetParamID(), GetParamType(), _value);
}

void StringValue::Copy(ConfigValue& other) {
  ConfigValue::Copy(other);
  CopyValue(other);
}

void StringValue::CopyValue(ConfigValue& other) {
  auto* const text = dynamic_cast<StringValue*>(&other);
  if (text == nullptr) return;
  std::string value;
  text->Get(value);
  Set(std::move(value));
}

void StringValue::ResetToFactory() {
  const auto* const descriptor = dynamic_cast<StringDescriptor*>(FindDescriptor(GetParamID()));
  if (descriptor != nullptr) Set(descriptor->GetFactoryDefault());
}

std::string StringValue::ToString() {
  SemaphoreHelper guard(_guard);
  return ConfigValue::ToString() + ", value = " + _value;
}

void StringValue::Set(std::string value) {
  SemaphoreHelper guard(_guard);
  if (value == _value) return;
  // Not assigned: a short text would leave the memory of a long one in use.
  _value.swap(value);
  SetDirty(true);
}

void StringValue::Get(std::string& value) {
  SemaphoreHelper guard(_guard);
  value = _value;
}
