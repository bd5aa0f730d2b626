// A value that is an unsigned 32-bit number: numbers, enumerations, addresses. Serialized, behind
// its class header: configuration, parameter, type and value, a word each.
#pragma once

#include "libconfig/values/ConfigValue.h"
#include "libconfig/values/SemaphoreHelper.h"

class LIBCONFIG_API IntegerValue : public ConfigValue {
 public:
  IntegerValue();
  IntegerValue(eConfigID_t configID, eParam_t paramID, eParamType_t paramType, unsigned int value);

  // New values that the caller owns; the second belongs to configuration 0.
  static IntegerValue* Create(eConfigID_t configID, eParam_t paramID, eParamType_t paramType,
                              unsigned int value);
  static IntegerValue* Create(eParam_t paramID, eParamType_t paramType, unsigned int value);

  ~IntegerValue() override;
  bool IsEqual(Serializable* other) override;
  void Serialize(Serializer* serializer) override;
  void Deserialize(DeSerializer* deserializer) override;
  ConfigValue* Clone() override;
  void Copy(ConfigValue& other) override;
  void CopyValue(ConfigValue& other) override;
  void ResetToFactory() override;
  std::string ToString() override;

  // Raises the dirty flag when `value` differs from the current one.
  void Set(unsigned int value);
  void Get(unsigned int& value);

 private:
  Semaphore _guard;
  unsigned int _value LIBCONFIG_GUARDED_BY(_guard) = 0;
};
