// The records that head stored data.
#include <cstdio>

#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"
#include "libconfig/values/Checkpoint.h"
#include "libconfig/values/PackageHeader.h"
#include "libconfig/values/SectorHeader.h"

SectorHeader::SectorHeader() : SectorHeader(0, 0, 0) {}

SectorHeader::SectorHeader(unsigned int odometer, unsigned int configVersion, unsigned int length)
    : Serializable(eClassID_SectorHeader),
      _odometer(odometer),
      _configVersion(configVersion),
      _length(length) {}

SectorHeader* SectorHeader::Create(unsigned int odometer, unsigned int configVersion,
                                   unsigned int length) {
  return new SectorHeader(odometer, configVersion, length);
}

SectorHeader::~SectorHeader() = default;

bool SectorHeader::IsEqual(Serializable* other) {
  if (!Serializable::IsEqual(other)) return false;
  const auto* const header = dynamic_cast<SectorHeader*>(other);
  return header != nullptr && header->_odometer == _odometer &&
         header->_configVersion == _configVersion && header->_length == _length;
}

void SectorHeader::Serialize(Serializer* serializer) {
  serializer->Write("Odometer", _odometer);
  serializer->Write("ConfigVersion", _configVersion);
  serializer->Write("Length", _length);
}

void SectorHeader::Deserialize(DeSerializer* deserializer) {
  deserializer->Read("Odometer", _odometer);
  deserializer->Read("ConfigVersion", _configVersion);
  deserializer->Read("Length", _length);
}

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

PackageHeader::PackageHeader() : Serializable(eClassID_PackageHeader) {}

PackageHeader::~PackageHeader() = default;

void PackageHeader::Serialize(Serializer* serializer) {
  serializer->Write("PackageHeaderVersion", _packageHeaderVersion);
  serializer->Write("productID", _productID);
  serializer->Write("FileSize", _fileSize);
  serializer->Write("Unused1", _unused1);
  serializer->Write("Unused2", _unused2);
}

void PackageHeader::Deserialize(DeSerializer* deserializer) {
  deserializer->Read("PackageHeaderVersion", _packageHeaderVersion);
  deserializer->Read("productID", _productID);
  deserializer->Read("FileSize", _fileSize);
  deserializer->Read("Unused1", _unused1);
  deserializer->Read("Unused2", _unused2);
}

std::string PackageHeader::ToString() {
  char text[128];
  std::snprintf(text, sizeof text,
                "class=PackageHeader, _packageHeaderVersion=0x%0X, _productID=%0X, "
                "_fileSize=0x%0X.",
                _packageHeaderVersion, _productID, _fileSize);
  return text;
}
