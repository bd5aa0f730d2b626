#include "libconfig/values/Presets.h"

#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"

namespace qel::config::values {

Presets::Presets(eClassID_t classID) : Serializable(classID) {}

Presets::~Presets() = default;

bool Presets::IsEqual(Serializable* other) {
  const auto* const presets = dynamic_cast<Presets*>(other);
  return presets != nullptr && presets->_name == _name && presets->_registerID == _registerID;
}

void Presets::Serialize(Serializer* serializer) {
  serializer->Write("RegisterID", _registerID);
  serializer->Write("Name", _name);
}

void Presets::Deserialize(DeSerializer* deserializer) {
  deserializer->Read("RegisterID", _registerID);
  deserializer->Read("Name", _name);
}

}  // namespace qel::config::values
