// Writes typed fields to a stream, one overload a type. A key names the field in the code; it is
// never written. One thread at a time.
#pragma once

#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/serialization/Identifiers.h"

class LIBCONFIG_API Serializer {
 public:
  explicit Serializer(eSerializationFormat format) : _format(format) {}
  Serializer(const Serializer&) = delete;
  Serializer& operator=(const Serializer&) = delete;

  // The order of the virtual operations is binary interface: append only.
  virtual ~Serializer();
  virtual void Write(std::string key, unsigned char value) = 0;
  virtual void Write(std::string key, long value) = 0;
  virtual void Write(std::string key, bool value) = 0;
  virtual void Write(std::string key, std::string value) = 0;
  virtual void Write(std::string key, unsigned int value) = 0;
  virtual void Write(std::string key, int value) = 0;
  // The object's header and its fields. Null writes nothing.
  virtual void Write(std::string key, Serializable* object) = 0;
  // A block: its length, then its bytes.
  virtual void Write(std::string key, char* data, unsigned int length) = 0;
  virtual void Write(ClassFactoryHeader& header);
  // Accounts for `count` bytes that were written.
  virtual void Wrote(unsigned int count);

  // A text literal would silently become a bool.
  void Write(std::string key, const char* value) = delete;

  eSerializationFormat GetFormat() const { return _format; }
  unsigned int GetByteCount() const { return _byteCount; }

 private:
  const eSerializationFormat _format;
  unsigned int _byteCount = 0;
};
