// Heads a package file: for which product the package is, and how large. Serialized, behind its
// class header: version, product, size and two unused words. A plain record without a lock: one
// thread at a time.
#pragma once

#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Serializable.h"

class LIBCONFIG_API PackageHeader : public Serializable {
 public:
  PackageHeader();

  // The order of the virtual operations is binary interface: append only.
  ~PackageHeader() override;
  void Serialize(Serializer* serializer) override;
  void Deserialize(DeSerializer* deserializer) override;
  virtual std::string ToString();

  unsigned int GetPackageHeaderVersion() const { return _packageHeaderVersion; }
  void SetPackageHeaderVersion(unsigned int version) { _packageHeaderVersion = version; }
  unsigned int GetProductID() const { return _productID; }
  void SetProductID(unsigned int id) { _productID = id; }
  // In bytes.
  unsigned int GetFileSize() const { return _fileSize; }
  void SetFileSize(unsigned int size) { _fileSize = size; }

 private:
  unsigned int _packageHeaderVersion = 0x1001;
  unsigned int _productID = 0xFFFFFFFF;
  unsigned int _fileSize = 0;
  unsigned int _unused1 = 0;
  unsigned int _unused2 = 0;
};

namespace qel::config::values {
using ::PackageHeader;
}
