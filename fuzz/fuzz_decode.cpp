// Any object from any bytes: values, and containers of objects within their nesting limit. What is
// read whole must be written again as the very bytes that were read.
#include <cstring>
#include <memory>
#include <string>

#include "fuzz/Fuzz.h"
#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/serialization/MemoryDeSerializer.h"
#include "libconfig/serialization/MemorySerializer.h"
#include "libconfig/serialization/MemorySerializerSizer.h"
#include "libconfig/values/ConfigValue.h"
#include "libconfig/values/ValueStream.h"

namespace {

constexpr auto kNestClass = static_cast<eClassID_t>(2);
int g_nests = 0;
bool g_gaps = false;  // an item was of no known class

class Nest : public Serializable {
 public:
  Nest() : Serializable(kNestClass) { ++g_nests; }
  ~Nest() override { --g_nests; }

  void Serialize(Serializer* serializer) override {
    serializer->Write("Name", _name);
    serializer->Write("Block", _block.data(), static_cast<unsigned int>(_block.size()));
    serializer->Write("Count", static_cast<unsigned int>(_items.size()));
    for (const auto& item : _items) serializer->Write("Item", item.get());
  }

  void Deserialize(DeSerializer* deserializer) override {
    deserializer->Read("Name", _name);
    char* data = nullptr;
    unsigned int length = 0;
    deserializer->Read("Block", data, length);
    _block.assign(data, data + length);
    delete[] data;
    unsigned int count = 0;
    deserializer->Read("Count", count);
    for (unsigned int i = 0; i < count; ++i) {
      Serializable* item = nullptr;
      deserializer->Read("Item", item);
      if (item == nullptr) {
        g_gaps = true;
        return;
      }
      const bool shared = ClassFactory::IsShared(item->GetClassID());
      _items.emplace_back(shared ? dynamic_cast<ConfigValue&>(*item).Clone() : item);
    }
  }

 private:
  std::string _name;
  std::vector<char> _block;
  std::vector<std::unique_ptr<Serializable>> _items;
};

class NestFactory : public ClassFactory {
 public:
  NestFactory() : ClassFactory(kNestClass) { Register(this); }
  Serializable* Create() override { return new Nest; }
};

void RequireSameBytes(Serializable& object, const char* begin, const char* end) {
  MemorySerializer serializer(eSerializationFormat_Network, nullptr, nullptr, false);
  std::vector<char> bytes(MemorySerializerSizer::GetSize(&object, &serializer));
  Require(bytes.size() == static_cast<size_t>(end - begin));
  serializer.SetPos(bytes.data());
  serializer.Write("Object", &object);
  Require(std::memcmp(bytes.data(), begin, bytes.size()) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = [] {
    ClassFactory::InitFactories();
    new NestFactory;
    return true;
  }();
  (void)ready;
  std::vector<char> bytes(data, data + size);
  char* const begin = bytes.data();
  MemoryDeSerializer stream(eSerializationFormat_Network, begin, begin + size, false);
  while (!stream.IsEndOfSector()) {
    const char* const before = stream.GetPos();
    g_gaps = false;
    Serializable* object = nullptr;
    stream.Read("Object", object);
    Require(before < stream.GetPos() && stream.GetPos() <= begin + size);
    if (object == nullptr) continue;
    if (!g_gaps) RequireSameBytes(*object, before, stream.GetPos());
    if (!ClassFactory::IsShared(object->GetClassID())) delete object;
    Require(g_nests == 0);
  }
  const auto value = qel::config::DecodeValue(begin, static_cast<unsigned int>(size),
                                              eSerializationFormat_Network);
  if (value != nullptr) {
    const auto again = qel::config::EncodeValue(*value, eSerializationFormat_Network, 0);
    Require(again.size() <= size && std::memcmp(again.data(), begin, again.size()) == 0);
  }
  return 0;
}
