// A value that is text. Serialized, behind its class header: configuration, parameter and type, a
// word each, then the text with its closing zero.
#pragma once

#include "libconfig/values/ConfigValue.h"
#include "libconfig/values/SemaphoreHelper.h"

class LIBCONFIG_API StringValue : public ConfigValue {
 public:
  StringValue();
  StringValue(eConfigID_t configID, eParam_t paramID, eParamType_t paramType, std::string value);

  // New values that the caller owns; the second belongs to configuration 0.
  static StringValue* Create(eConfigID_t configID, eParam_t paramID, eParamType_t paramType,
                             std::string value);
  static StringValue* Create(eParam_t paramID, eParamType_t paramType, std::string value);

  ~StringValue() override;
  bool IsEqual(Serializable* other) override;
  void Serialize(Serializer* serializer) override;
  void Deserialize(DeSerializer* deserializer) override;
  ConfigValue* Clone() override;
  void Copy(ConfigValue& other) override;
  void CopyValue(ConfigValue& other) override;
  void ResetToFactory() override;
  std::string ToString() override;

  // Raises the dirty flag when `value` differs from the current text.
  void Set(std::string value);
  void Get(std::string& value);

 private:
  Semaphore _guard;
  std::string _value LIBCONFIG_GUARDED_BY(_guard);
};
