#include "libconfig/values/ValueStream.h"

#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/serialization/MemoryDeSerializer.h"
#include "libconfig/serialization/MemorySerializer.h"
#include "libconfig/serialization/MemorySerializerSizer.h"

namespace qel::config {
namespace {

// Whether the bytes are an object of ours that is no value: reading a list of objects takes time
// and lines of the log for each.
bool IsNoValue(char* data, unsigned int length) {
  if (length < sizeof(uint32_t)) return false;
  MemoryDeSerializer words(eSerializationFormat_Network, data, data + length, false);
  unsigned int classID = 0;
  words.Read("Class ID", classID);
  switch (classID) {
    case eClassID_SectorHeader:
    case eClassID_Checkpoint:
    case eClassID_Presets:
    case eClassID_Vector:
    case eClassID_PackageHeader:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::unique_ptr<Serializable> ReadObject(DeSerializer& deserializer, const char* key) {
  if (auto* const memory = dynamic_cast<MemoryDeSerializer*>(&deserializer)) {
    return memory->ReadOwned();
  }
  Serializable* object = nullptr;
  deserializer.Read(key, object);
  const bool shared = object != nullptr && ClassFactory::IsShared(object->GetClassID());
  return std::unique_ptr<Serializable>(shared ? ClassFactory::Copy(*object) : object);
}

std::unique_ptr<Serializable> DecodeObject(char* data, unsigned int length,
                                           eSerializationFormat format) {
  MemoryDeSerializer deserializer(format, data, data + length, false);
  return deserializer.ReadOwned();
}

std::unique_ptr<ConfigValue> DecodeValue(char* data, unsigned int length,
                                         eSerializationFormat format) {
  if (IsNoValue(data, length)) return nullptr;
  std::unique_ptr<Serializable> object = DecodeObject(data, length, format);
  auto* const value = dynamic_cast<ConfigValue*>(object.get());
  if (value == nullptr) return nullptr;
  static_cast<void>(object.release());
  return std::unique_ptr<ConfigValue>(value);
}

std::vector<char> EncodeValue(ConfigValue& value, eSerializationFormat format, std::size_t room) {
  const std::unique_ptr<ConfigValue> copy(value.Clone());
  MemorySerializer serializer(format, nullptr, nullptr, false);
  const unsigned int size = MemorySerializerSizer::GetSize(copy.get(), &serializer);
  std::vector<char> bytes(room + size);
  serializer.SetBufferStart(bytes.data());
  serializer.SetBufferEnd(bytes.data() + bytes.size());
  serializer.SetPos(bytes.data() + room);
  serializer.Write("Serializable", copy.get());
  return bytes;
}

}  // namespace qel::config
