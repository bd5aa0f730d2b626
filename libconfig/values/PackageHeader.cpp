#include "libconfig/values/PackageHeader.h"

#include <cstdio>

#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"

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
