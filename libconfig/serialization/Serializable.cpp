#include "libconfig/serialization/Serializable.h"

Serializable::~Serializable() = default;

eClassID_t Serializable::GetClassID() { return _classID.load(std::memory_order_relaxed); }

void Serializable::SetClassID(eClassID_t classID) {
  if (_classID.load(std::memory_order_relaxed) != classID) {
    _classID.store(classID, std::memory_order_relaxed);
  }
}

bool Serializable::IsEqual(Serializable* other) {
  return other != nullptr && other->GetClassID() == GetClassID();
}

void Serializable::Serialize(Serializer*) {}

void Serializable::Deserialize(DeSerializer*) {}

bool Serializable::IsDirty() { return _dirty.load(std::memory_order_relaxed); }

void Serializable::SetDirty(bool dirty) { _dirty.store(dirty, std::memory_order_relaxed); }
