#include "libconfig/values/SectorHeader.h"

#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"

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
