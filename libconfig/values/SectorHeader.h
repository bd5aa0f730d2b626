// Heads a stored sector of records: how often the sector was written, the layout of what is in it,
// and how long that is. Serialized, behind its class header: odometer, version and length, a word
// each. A plain record without a lock: one thread at a time.
//
// ClassFactory shares one object of this class with all readers; see ClassFactory::IsShared.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Serializable.h"

class LIBCONFIG_API SectorHeader : public Serializable {
 public:
  // All fields 0.
  SectorHeader();
  SectorHeader(unsigned int odometer, unsigned int configVersion, unsigned int length);

  // A new header that the caller owns.
  static SectorHeader* Create(unsigned int odometer, unsigned int configVersion,
                              unsigned int length);

  ~SectorHeader() override;
  // Class and all three fields are equal; the dirty flag does not count.
  bool IsEqual(Serializable* other) override;
  void Serialize(Serializer* serializer) override;
  void Deserialize(DeSerializer* deserializer) override;

  // How many times the sector has been written.
  unsigned int GetOdometer() const { return _odometer; }
  void SetOdometer(unsigned int odometer) { _odometer = odometer; }
  // The layout of the configuration that is stored.
  unsigned int GetConfigVersion() const { return _configVersion; }
  void SetConfigVersion(unsigned int version) { _configVersion = version; }
  // Bytes of the sector's contents.
  unsigned int GetLength() const { return _length; }
  void SetLength(unsigned int length) { _length = length; }

 private:
  unsigned int _odometer;
  unsigned int _configVersion;
  unsigned int _length;
};
