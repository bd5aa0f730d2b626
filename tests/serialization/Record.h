// Objects of the tests' own that travel in streams: one with a field of every kind and another
// object inside, and some that misbehave.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/serialization/MemoryDeSerializer.h"
#include "libconfig/serialization/MemorySerializer.h"
#include "libconfig/serialization/MemorySerializerSizer.h"
#include "libconfig/serialization/Serializable.h"

namespace testing_support {

constexpr auto kRecordClass = static_cast<eClassID_t>(200);
constexpr auto kThrowerClass = static_cast<eClassID_t>(201);
constexpr auto kSharedThrowerClass = static_cast<eClassID_t>(202);

// Every object counts, so that a test sees what a reader leaves behind.
inline int g_alive = 0;

class Record : public Serializable {
 public:
  Record() : Serializable(kRecordClass) { ++g_alive; }
  ~Record() override {
    --g_alive;
    if (inner != nullptr && !ClassFactory::IsShared(inner->GetClassID())) delete inner;
  }

  void Serialize(Serializer* serializer) override {
    serializer->Write("Flag", flag);
    serializer->Write("Number", number);
    serializer->Write("Word", word);
    serializer->Write("Text", text);
    serializer->Write("Block", block.data(), static_cast<unsigned int>(block.size()));
    serializer->Write("HasInner", inner != nullptr);
    serializer->Write("Inner", inner);
  }

  void Deserialize(DeSerializer* deserializer) override {
    deserializer->Read("Flag", flag);
    deserializer->Read("Number", number);
    deserializer->Read("Word", word);
    deserializer->Read("Text", text);
    char* data = nullptr;
    unsigned int length = 0;
    deserializer->Read("Block", data, length);
    block.assign(data, data + length);
    delete[] data;
    bool hasInner = false;
    deserializer->Read("HasInner", hasInner);
    if (hasInner) deserializer->Read("Inner", inner);
  }

  bool flag = false;
  int number = 0;
  unsigned int word = 0;
  std::string text;
  std::vector<char> block;
  Serializable* inner = nullptr;
};

class Thrower : public Serializable {
 public:
  Thrower() { ++g_alive; }
  ~Thrower() override { --g_alive; }
  void Deserialize(DeSerializer*) override { throw 1; }
};

template <typename T>
class NewFactory : public ClassFactory {
 public:
  explicit NewFactory(eClassID_t classID) : ClassFactory(classID) { Register(this); }
  Serializable* Create() override { return new T; }
};

template <typename T>
class SharedFactory : public ClassFactory {
 public:
  explicit SharedFactory(eClassID_t classID) : ClassFactory(classID) { Register(this); }
  Serializable* Create() override { return &_shared; }
  bool IsShared() override { return true; }

 private:
  T _shared;
};

inline void RegisterTestClasses() {
  ClassFactory::InitFactories();
  new NewFactory<Record>(kRecordClass);
  new NewFactory<Thrower>(kThrowerClass);
  new SharedFactory<Thrower>(kSharedThrowerClass);
}

// What `write` puts into a stream, after the sizer has announced exactly as much.
template <typename Write>
std::vector<char> Written(Write write) {
  MemorySerializerSizer sizer(eSerializationFormat_Network);
  write(sizer);
  std::vector<char> bytes(sizer.GetByteCount());
  MemorySerializer serializer(eSerializationFormat_Network, bytes.data(),
                              bytes.data() + bytes.size(), false);
  write(serializer);
  EXPECT_EQ(bytes.size(), serializer.GetByteCount());
  EXPECT_EQ(0, serializer.Available());
  EXPECT_TRUE(serializer.IsEndOfBuffer());
  return bytes;
}

inline std::vector<char> WrittenObject(Serializable& object) {
  return Written([&](Serializer& serializer) { serializer.Write("Object", &object); });
}

}  // namespace testing_support
