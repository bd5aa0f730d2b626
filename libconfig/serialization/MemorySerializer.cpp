#include "libconfig/serialization/MemorySerializer.h"

#include <cstring>

#include "libconfig/serialization/ByteOrder.h"
#include "libconfig/serialization/MemorySerializerSizer.h"
#include "libconfig/serialization/Serializable.h"

Serializer::~Serializer() = default;

void Serializer::Write(ClassFactoryHeader& header) {
  Write("ClassID", static_cast<unsigned int>(header.classID));
}

void Serializer::Wrote(unsigned int count) { _byteCount += count; }

MemorySerializer::MemorySerializer(eSerializationFormat format, char* start, char* end, bool flag)
    : Serializer(format), _position(start), _start(start), _end(end), _flag(flag) {
  (void)_flag;
}

MemorySerializer::~MemorySerializer() = default;

void MemorySerializer::WriteWord(unsigned int value) {
  qel::config::StoreBigEndian(value, _position);
  Wrote(4);
}

void MemorySerializer::Write(std::string, unsigned char value) {
  *_position = static_cast<char>(value);
  Wrote(1);
}

void MemorySerializer::Write(std::string, long value) {
  WriteWord(static_cast<unsigned int>(value));
}

void MemorySerializer::Write(std::string key, bool value) {
  Write(std::move(key), value ? qel::config::kTrueWord : qel::config::kFalseWord);
}

void MemorySerializer::Write(std::string, std::string value) {
  const auto size = static_cast<unsigned int>(value.size()) + 1;
  std::memcpy(_position, value.c_str(), size);
  Wrote(size);
}

void MemorySerializer::Write(std::string, unsigned int value) { WriteWord(value); }

void MemorySerializer::Write(std::string key, int value) {
  Write(std::move(key), static_cast<unsigned int>(value));
}

void MemorySerializer::Write(std::string, Serializable* object) {
  if (object == nullptr) return;
  ClassFactoryHeader header{object->GetClassID()};
  Write(header);
  object->Serialize(this);
}

void MemorySerializer::Write(std::string, char* data, unsigned int length) {
  Write("Size", length);
  if (length == 0) return;
  std::memcpy(_position, data, length);
  Wrote(length);
}

void MemorySerializer::Write(ClassFactoryHeader& header) { Serializer::Write(header); }

void MemorySerializer::Wrote(unsigned int count) {
  Serializer::Wrote(count);
  _position += count;
}

char* MemorySerializer::GetPos() { return _position; }
void MemorySerializer::SetPos(char* position) { _position = position; }
bool MemorySerializer::IsEndOfBuffer() { return _position >= GetBufferEnd(); }
char* MemorySerializer::GetBufferStart() { return _start; }
void MemorySerializer::SetBufferStart(char* start) { _start = start; }
char* MemorySerializer::GetBufferEnd() { return _end; }
void MemorySerializer::SetBufferEnd(char* end) { _end = end; }
int MemorySerializer::Available() { return static_cast<int>(GetBufferEnd() - GetPos()); }

MemorySerializerSizer::MemorySerializerSizer(eSerializationFormat format) : Serializer(format) {}

MemorySerializerSizer::~MemorySerializerSizer() = default;

unsigned int MemorySerializerSizer::GetSize(Serializable* object, MemorySerializer* serializer) {
  MemorySerializerSizer sizer(serializer->GetFormat());
  sizer.Write("Serializable", object);
  return sizer.GetByteCount();
}

void MemorySerializerSizer::Write(std::string, unsigned char) { Wrote(1); }
void MemorySerializerSizer::Write(std::string, long) { Wrote(4); }
void MemorySerializerSizer::Write(std::string, bool) { Wrote(4); }
void MemorySerializerSizer::Write(std::string, std::string value) {
  Wrote(static_cast<unsigned int>(value.size()) + 1);
}
void MemorySerializerSizer::Write(std::string, unsigned int) { Wrote(4); }
void MemorySerializerSizer::Write(std::string, int) { Wrote(4); }
void MemorySerializerSizer::Write(std::string, Serializable* object) {
  if (object == nullptr) return;
  ClassFactoryHeader header{object->GetClassID()};
  Write(header);
  object->Serialize(this);
}
void MemorySerializerSizer::Write(std::string, char*, unsigned int length) { Wrote(4 + length); }
void MemorySerializerSizer::Write(ClassFactoryHeader&) { Wrote(4); }
