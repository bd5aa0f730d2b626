// Any object from any bytes: values, records, and lists of them within their nesting limit. What
// is read must be written again as bytes that are read as the same.
#include <cstring>
#include <memory>

#include "fuzz/Fuzz.h"
#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/serialization/MemoryDeSerializer.h"
#include "libconfig/serialization/MemorySerializer.h"
#include "libconfig/serialization/MemorySerializerSizer.h"
#include "libconfig/values/ConfigValue.h"
#include "libconfig/values/ValueStream.h"

namespace {

std::vector<char> Written(Serializable& object) {
  MemorySerializer serializer(eSerializationFormat_Network, nullptr, nullptr, false);
  std::vector<char> bytes(MemorySerializerSizer::GetSize(&object, &serializer));
  serializer.SetPos(bytes.data());
  serializer.Write("Object", &object);
  return bytes;
}

void RequireSameAgain(Serializable& object) {
  std::vector<char> bytes = Written(object);
  const auto again = qel::config::DecodeObject(
      bytes.data(), static_cast<unsigned int>(bytes.size()), eSerializationFormat_Network);
  fuzz::Require(again != nullptr && Written(*again) == bytes);
}

}  // namespace

void Objects(const uint8_t* data, size_t size) {
  std::vector<char> bytes(data, data + size);
  char* const begin = bytes.data();
  MemoryDeSerializer stream(eSerializationFormat_Network, begin, begin + size, false);
  while (!stream.IsEndOfSector()) {
    const char* const before = stream.GetPos();
    const std::unique_ptr<Serializable> object = qel::config::ReadObject(stream, "Object");
    fuzz::Require(before < stream.GetPos() && stream.GetPos() <= begin + size);
    if (object != nullptr) RequireSameAgain(*object);
  }
  const auto value = qel::config::DecodeValue(begin, static_cast<unsigned int>(size),
                                              eSerializationFormat_Network);
  if (value != nullptr) {
    const auto again = qel::config::EncodeValue(*value, eSerializationFormat_Network, 0);
    fuzz::Require(again.size() <= size && std::memcmp(again.data(), begin, again.size()) == 0);
  }
}
