// Writes into a buffer that the caller owns. The layout, without padding or separators:
//
//   stream  := field*
//   char    := byte
//   word    := 4 bytes, most significant first      (long, int and unsigned int alike)
//   bool    := word 0x0000BEEF for true, word 0x0000DEAD for false
//   string  := byte* zero
//   block   := word(length) byte[length]
//   object  := word(class identifier) field*
//
// The bytes are the same on every host.
//
//   MemorySerializer serializer(eSerializationFormat_Network, nullptr, nullptr, false);
//   std::vector<char> bytes(MemorySerializerSizer::GetSize(object, &serializer));
//   serializer.SetPos(bytes.data());
//   serializer.Write("Object", object);
//
// REQUIRES: room for all that is written, which GetSize of MemorySerializerSizer tells beforehand.
// No write checks it. One thread at a time.
#pragma once

#include "libconfig/serialization/Serializer.h"

class LIBCONFIG_API MemorySerializer : public Serializer {
 public:
  // `end` is one past the last usable byte. The last argument is kept for its readers only.
  MemorySerializer(eSerializationFormat format, char* start, char* end, bool flag);
  ~MemorySerializer() override;

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
  void Wrote(unsigned int count) override;

  virtual char* GetPos();
  virtual void SetPos(char* position);
  virtual bool IsEndOfBuffer();
  virtual char* GetBufferStart();
  virtual void SetBufferStart(char* start);
  virtual char* GetBufferEnd();
  virtual void SetBufferEnd(char* end);
  // Bytes between the position and the buffer's end; negative behind the end.
  virtual int Available();

 private:
  void WriteWord(unsigned int value);

  char* _position;
  char* _start;
  char* _end;
  const bool _flag;
};
