#include "libconfig/values/ValueStream.h"

#include "libconfig/base/Mutex.h"
#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/serialization/MemoryDeSerializer.h"
#include "libconfig/serialization/MemorySerializer.h"
#include "libconfig/serialization/MemorySerializerSizer.h"

namespace qel::config {
namespace {

Mutex& PrototypeMutex() {
  static auto* const mutex = new Mutex;
  return *mutex;
}

}  // namespace

std::unique_ptr<Serializable> DecodeObject(char* data, unsigned int length,
                                           eSerializationFormat format) {
  MemoryDeSerializer deserializer(format, data, data + length, false);
  MutexLock lock(PrototypeMutex());
  Serializable* object = nullptr;
  deserializer.Read("Serializable", object);
  if (object == nullptr) return nullptr;
  if (!ClassFactory::IsShared(object->GetClassID())) return std::unique_ptr<Serializable>(object);
  auto* const value = dynamic_cast<ConfigValue*>(object);
  return std::unique_ptr<Serializable>(value == nullptr ? nullptr : value->Clone());
}

std::unique_ptr<ConfigValue> DecodeValue(char* data, unsigned int length,
                                         eSerializationFormat format) {
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
