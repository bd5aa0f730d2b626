// Marks where in a stream the data of a configuration begin. Serialized, behind its class header:
// the offset, then the configuration, a word each. A plain record without a lock: one thread at a
// time.
//
// ClassFactory shares one object of this class with all readers; see ClassFactory::IsShared.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Serializable.h"

class LIBCONFIG_API Checkpoint : public Serializable {
 public:
  // Of no configuration, which is number -1.
  Checkpoint();
  explicit Checkpoint(eConfigID_t id);

  ~Checkpoint() override;
  void Serialize(Serializer* serializer) override;
  void Deserialize(DeSerializer* deserializer) override;

  eConfigID_t GetConfigID() const { return _configID; }
  void SetConfigID(eConfigID_t id) { _configID = id; }
  // In bytes.
  unsigned int GetOffset() const { return _offset; }
  void SetOffset(unsigned int offset) { _offset = offset; }

 private:
  eConfigID_t _configID;
  unsigned int _offset = 0;
};
