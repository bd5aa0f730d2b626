// Reads typed fields from a stream, in the order in which a Serializer wrote them. A read that
// cannot be satisfied leaves its out parameters as they were. One thread at a time.
#pragma once

#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Identifiers.h"

class Serializable;

class LIBCONFIG_API DeSerializer {
 public:
  explicit DeSerializer(eSerializationFormat format) : _format(format) {}
  DeSerializer(const DeSerializer&) = delete;
  DeSerializer& operator=(const DeSerializer&) = delete;

  // The order of the virtual operations is binary interface: append only.
  virtual ~DeSerializer() = default;
  virtual void Read(const char* key, unsigned char& value) = 0;
  virtual void Read(const char* key, long& value) = 0;
  virtual void Read(const char* key, bool& value) = 0;
  virtual void Read(const char* key, std::string& value) = 0;
  virtual void Read(const char* key, unsigned int& value) = 0;
  virtual void Read(const char* key, int& value) = 0;
  // An object of the class that the stream names, or null.
  virtual void Read(const char* key, Serializable*& object) = 0;
  // A block into the caller's buffer of `capacity` bytes.
  virtual void Read(const char* key, char* buffer, unsigned int capacity, unsigned int& length) = 0;
  // A block into an array that the caller frees with delete[].
  virtual void Read(const char* key, char*& data, unsigned int& length) = 0;
  // Receives an object from a transport of the stream's own; 0 where there is none.
  virtual int Read(Serializable*& object) = 0;
  virtual bool IsEndOfStream() = 0;

  eSerializationFormat GetFormat() const { return _format; }

 private:
  const eSerializationFormat _format;
};
