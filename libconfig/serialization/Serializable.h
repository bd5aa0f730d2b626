// Base of everything that crosses a process or storage boundary: it knows its class identifier and
// writes and reads its own fields. The creator of an object owns it, except for the prototypes
// that ClassFactory shares. The identifier and the dirty flag may be read and written from any
// thread; each subclass says what else it guards.
//
//   class Mine : public Serializable {
//     void Serialize(Serializer* out) override { out->Write("Number", _number); }
//     void Deserialize(DeSerializer* in) override { in->Read("Number", _number); }
//   };
#pragma once

#include <atomic>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Identifiers.h"

class Serializer;
class DeSerializer;

class LIBCONFIG_API Serializable {
 public:
  Serializable() : Serializable(eClassID_None) {}
  explicit Serializable(eClassID_t classID) : _classID(classID), _dirty(false) {}
  Serializable(const Serializable&) = delete;
  Serializable& operator=(const Serializable&) = delete;

  // The order of the virtual operations is binary interface: append only.
  virtual ~Serializable();
  virtual eClassID_t GetClassID();
  // Stores only a different identifier, so that threads may share an object that already bears it.
  virtual void SetClassID(eClassID_t classID);
  // True when `other` bears the same class identifier; subclasses compare more. False for null.
  virtual bool IsEqual(Serializable* other);
  virtual void Serialize(Serializer* serializer);
  virtual void Deserialize(DeSerializer* deserializer);
  virtual bool IsDirty();
  virtual void SetDirty(bool dirty);

 private:
  std::atomic<eClassID_t> _classID;
  std::atomic<bool> _dirty;
};
