// The value of one parameter in one store: an IntegerValue or a StringValue. The store owns its
// values; everybody else works on clones.
//
//   const std::unique_ptr<IntegerValue> value(IntegerValue::Create(id, eParamType_Enum, 2));
//   value->Set(3);
//   if (value->IsDirty()) ...  // 3 was a change
//
// Any thread may call any operation: the payload has a semaphore of its own, the identifiers and
// the dirty flag are plain words that are read and written as a whole. Nothing that is called while
// a value is serialized may call Get or Set of the same value: its semaphore is held.
#pragma once

#include <atomic>
#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Serializable.h"

class LIBCONFIG_API ConfigValue : public Serializable {
 public:
  // Of no class and no parameter, until these are set or deserialized.
  ConfigValue();
  ConfigValue(eClassID_t classID, eConfigID_t configID, eParam_t paramID, eParamType_t paramType);

  // The order of the virtual operations is binary interface: append only.
  ~ConfigValue() override;
  // Class, configuration, parameter, type and dirty flag are all equal.
  bool IsEqual(Serializable* other) override;
  void Serialize(Serializer* serializer) override;
  void Deserialize(DeSerializer* deserializer) override;
  bool IsDirty() override;
  void SetDirty(bool dirty) override;
  // The setters raise the dirty flag when they change something.
  virtual eConfigID_t GetConfigID();
  virtual void SetConfigID(eConfigID_t configID);
  virtual eParam_t GetParamID();
  virtual void SetParamID(eParam_t paramID);
  virtual eParamType_t GetParamType();
  virtual void SetParamType(eParamType_t paramType);
  // A new value with a clear dirty flag, which the caller owns.
  virtual ConfigValue* Clone() = 0;
  // Takes over the configuration identifier and the payload. The parameter and its type stay.
  virtual void Copy(ConfigValue& other);
  // Takes over the payload. A value of another class changes nothing.
  virtual void CopyValue(ConfigValue& other) = 0;
  // Sets the payload to the catalogue's factory default; nothing without a fitting descriptor.
  virtual void ResetToFactory();
  virtual std::string ToString();

 private:
  std::atomic<eConfigID_t> _configID;
  std::atomic<eParam_t> _paramID;
  std::atomic<eParamType_t> _paramType;
};
