// Counts the bytes that MemorySerializer would write, and stores nothing. To fill a buffer safely,
// measure and write the same private object: a shared value may grow in between.
#pragma once

#include "libconfig/serialization/Serializer.h"

class MemorySerializer;

class LIBCONFIG_API MemorySerializerSizer : public Serializer {
 public:
  explicit MemorySerializerSizer(eSerializationFormat format);
  ~MemorySerializerSizer() override;

  // Bytes that writing `object` with `serializer` takes, its class header included; 0 for null.
  static unsigned int GetSize(Serializable* object, MemorySerializer* serializer);

  using Serializer::Write;
  void Write(std::string key, unsigned char value) override;
  void Write(std::string key, long value) override;
  void Write(std::string key, bool value) override;
  void Write(std::string key, std::string value) override;
  void Write(std::string key, unsigned int value) override;
  void Write(std::string key, int value) override;
  void Write(std::string key, Serializable* object) override;
  void Write(std::string key, char* data, unsigned int length) override;
  void Write(ClassFactoryHeader& header) override;
};
