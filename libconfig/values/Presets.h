// A saved copy of the device's settings, kept by the main application under a register number.
// Serialized, behind its class header: the register in a word, then the name. One thread at a time.
#pragma once

#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Serializable.h"

class Config;

namespace qel::config::values {

class LIBCONFIG_API Presets : public Serializable {
 public:
  explicit Presets(eClassID_t classID);

  // The order of the virtual operations is binary interface: append only.
  ~Presets() override;
  // The names and the registers are equal; what is in the presets does not count.
  bool IsEqual(Serializable* other) override;
  void Serialize(Serializer* serializer) override;
  void Deserialize(DeSerializer* deserializer) override;
  // Fetches the contents of register `reg` from the device that `config` reaches.
  virtual bool Load(eConfigID_t reg, Config* config) = 0;
  // Hands the contents to the device as its register `reg`.
  virtual bool Store(eConfigID_t reg, Config* config) = 0;

  unsigned int GetRegisterID() const { return _registerID; }
  void SetRegisterID(unsigned int id) { _registerID = id; }
  std::string GetName() const { return _name; }
  void SetName(std::string name) { _name = std::move(name); }

 private:
  unsigned int _registerID = 0;
  std::string _name;
};

}  // namespace qel::config::values
