#include "libconfig/serialization/MemorySerializerSizer.h"

#include "libconfig/serialization/MemorySerializer.h"
#include "libconfig/serialization/Serializable.h"

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
