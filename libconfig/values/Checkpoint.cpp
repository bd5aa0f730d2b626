#include "libconfig/values/Checkpoint.h"

#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"

Checkpoint::Checkpoint() : Checkpoint(static_cast<eConfigID_t>(-1)) {}

Checkpoint::Checkpoint(eConfigID_t id) : Serializable(eClassID_Checkpoint), _configID(id) {}

Checkpoint::~Checkpoint() = default;

void Checkpoint::Serialize(Serializer* serializer) {
  serializer->Write("offset", _offset);
  serializer->Write("configID", static_cast<int>(_configID));
}

void Checkpoint::Deserialize(DeSerializer* deserializer) {
  deserializer->Read("offset", _offset);
  auto id = static_cast<unsigned int>(_configID);
  deserializer->Read("configID", id);
  _configID = static_cast<eConfigID_t>(id);
}
