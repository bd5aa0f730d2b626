#include "libconfig/values/ConfigValue.h"

#include <cstdio>

#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;

// Whether `field` changed.
template <typename T>
bool Assign(std::atomic<T>& field, T value) {
  return field.exchange(value, kRelaxed) != value;
}

template <typename T>
void ReadField(DeSerializer& deserializer, const char* key, std::atomic<T>& field) {
  auto word = static_cast<unsigned int>(field.load(kRelaxed));
  deserializer.Read(key, word);
  field.store(static_cast<T>(word), kRelaxed);
}

}  // namespace

ConfigValue::ConfigValue()
    : ConfigValue(eClassID_None, eConfigID_Default, eParam_t{}, eParamType_Unknown) {}

ConfigValue::ConfigValue(eClassID_t classID, eConfigID_t configID, eParam_t paramID,
                         eParamType_t paramType)
    : Serializable(classID), _configID(configID), _paramID(paramID), _paramType(paramType) {}

ConfigValue::~ConfigValue() = default;

bool ConfigValue::IsEqual(Serializable* other) {
  if (!Serializable::IsEqual(other)) return false;
  auto* const value = dynamic_cast<ConfigValue*>(other);
  return value != nullptr && value->GetConfigID() == GetConfigID() &&
         value->GetParamID() == GetParamID() && value->GetParamType() == GetParamType() &&
         value->IsDirty() == IsDirty();
}

void ConfigValue::Serialize(Serializer* serializer) {
  serializer->Write("ConfigID", static_cast<int>(GetConfigID()));
  serializer->Write("ParamID", static_cast<unsigned int>(GetParamID()));
  serializer->Write("ParamType", static_cast<int>(GetParamType()));
}

void ConfigValue::Deserialize(DeSerializer* deserializer) {
  ReadField(*deserializer, "ConfigID", _configID);
  ReadField(*deserializer, "ParamID", _paramID);
  ReadField(*deserializer, "ParamType", _paramType);
}

bool ConfigValue::IsDirty() { return Serializable::IsDirty(); }
void ConfigValue::SetDirty(bool dirty) { Serializable::SetDirty(dirty); }

eConfigID_t ConfigValue::GetConfigID() { return _configID.load(kRelaxed); }

void ConfigValue::SetConfigID(eConfigID_t configID) {
  if (Assign(_configID, configID)) SetDirty(true);
}

eParam_t ConfigValue::GetParamID() { return _paramID.load(kRelaxed); }

void ConfigValue::SetParamID(eParam_t paramID) {
  if (Assign(_paramID, paramID)) SetDirty(true);
}

eParamType_t ConfigValue::GetParamType() { return _paramType.load(kRelaxed); }

void ConfigValue::SetParamType(eParamType_t paramType) {
  if (Assign(_paramType, paramType)) SetDirty(true);
}

void ConfigValue::Copy(ConfigValue& other) { SetConfigID(other.GetConfigID()); }

void ConfigValue::ResetToFactory() {}

std::string ConfigValue::ToString() {
  char text[80];
  std::snprintf(text, sizeof text, "configID = %d, paramID = 0x%0X, paramType = %d",
                static_cast<int>(GetConfigID()), static_cast<unsigned int>(GetParamID()),
                static_cast<int>(GetParamType()));
  return text;
}
