// The registry of classes. It is one for the process, so that each test works on a process of its
// own, in which nobody has used it yet.
#include <unistd.h>

#include <algorithm>

#include "libconfig/base/Limits.h"
#include "libconfig/serialization/MemoryDeSerializer.h"
#include "libconfig/values/Checkpoint.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/SectorHeader.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"
#include "tests/testing/Emulator.h"
#include "tests/testing/Golden.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

namespace {

class ClassFactoryTest : public ::testing::Test {
 protected:
  void SetUp() override { ::testing::GTEST_FLAG(death_test_style) = FreshDeathTestStyle(); }
};

// Runs `body` in a fresh process, which must write exactly `messages` to standard error.
#define EXPECT_IN_FRESH_PROCESS(body, messages)         \
  EXPECT_EXIT(                                          \
      {                                                 \
        body();                                         \
        ::_exit(::testing::Test::HasFailure() ? 1 : 0); \
      },                                                \
      ::testing::ExitedWithCode(0), ::testing::Eq(std::string(messages)))

constexpr auto kFormat = eSerializationFormat_Queue;
constexpr auto kNoClass = static_cast<eClassID_t>(3);
constexpr auto kOwnClass = static_cast<eClassID_t>(300);

int g_deleted = 0;

class CountingFactory : public ClassFactory {
 public:
  explicit CountingFactory(eClassID_t classID, Serializable* product = nullptr)
      : ClassFactory(classID), _product(product) {
    Register(this);
  }
  ~CountingFactory() override { ++g_deleted; }
  Serializable* Create() override { return _product; }

 private:
  Serializable* const _product;
};

TEST_F(ClassFactoryTest, RegistersTheLibrarysClassesOnFirstUse) {
  EXPECT_IN_FRESH_PROCESS(
      [] {
        EXPECT_EQ(0U, ClassFactory::GetRegistrySize());
        Serializable* const number = ClassFactory::Create(eClassID_IntegerValue);
        EXPECT_NE(nullptr, dynamic_cast<IntegerValue*>(number));
        EXPECT_EQ(eClassID_IntegerValue, number->GetClassID());
        EXPECT_EQ(number, ClassFactory::Create(eClassID_IntegerValue)) << "one prototype for all";
        EXPECT_TRUE(ClassFactory::IsShared(eClassID_IntegerValue));
        EXPECT_EQ(7U, ClassFactory::GetRegistrySize());
        Serializable later;
        new CountingFactory(eClassID_IntegerValue);
        new CountingFactory(eClassID_IntegerValue, &later);
        EXPECT_EQ(&later, ClassFactory::Create(eClassID_IntegerValue));
        EXPECT_EQ(7U, ClassFactory::GetRegistrySize());
        EXPECT_EQ(0, g_deleted) << "the earlier one is forgotten, not deleted";
      },
      "");
}

TEST_F(ClassFactoryTest, RemembersSoManyUnknownClassesWithoutMakingThem) {
  EXPECT_IN_FRESH_PROCESS(
      [] {
        EXPECT_EQ(nullptr, ClassFactory::Create(kNoClass));
        EXPECT_EQ(nullptr, ClassFactory::Create(kNoClass));
        EXPECT_EQ(8U, ClassFactory::GetRegistrySize());
        EXPECT_FALSE(ClassFactory::IsShared(kNoClass));
        Serializable object;
        new CountingFactory(kNoClass, &object);
        EXPECT_EQ(&object, ClassFactory::Create(kNoClass));
        EXPECT_EQ(kNoClass, object.GetClassID());
        EXPECT_EQ(8U, ClassFactory::GetRegistrySize());
      },
      "Unable to find class factory for classID = 3\n"
      "Unable to find class factory for classID = 3\n");
  CaptureStderr();
  for (int id = -2000; id < 0; ++id) ClassFactory::Create(static_cast<eClassID_t>(id));
  const std::string messages = GetCapturedStderr();
  EXPECT_EQ(2000, std::count(messages.begin(), messages.end(), '\n')) << "each is reported";
  EXPECT_LE(ClassFactory::GetRegistrySize(), 100 + qel::config::limits::kUnknownClasses);
  new CountingFactory(kOwnClass);
  EXPECT_EQ(nullptr, ClassFactory::Create(kOwnClass)) << "a factory may have nothing to give";
}

// As a program writes one that knows nothing of IsShared.
template <typename T>
class PlainPrototypeFactory : public ClassFactory {
 public:
  explicit PlainPrototypeFactory(eClassID_t classID) : ClassFactory(classID) { Register(this); }
  Serializable* Create() override { return &_prototype; }

 private:
  T _prototype;
};

void DecodeWithReplacements() {
  ClassFactory::InitFactories();
  new PlainPrototypeFactory<IntegerValue>(eClassID_IntegerValue);
  new PlainPrototypeFactory<StringValue>(eClassID_StringValue);
  new PlainPrototypeFactory<SectorHeader>(eClassID_SectorHeader);
  new PlainPrototypeFactory<Checkpoint>(eClassID_Checkpoint);
  const Golden golden;
  for (const char* const name : {"Number", "Text", "SectorHeader", "Checkpoint"}) {
    const Bytes object = golden.GetObject(name);
    Bytes list = {0, 0, 0, eClassID_Vector, 0, 0, 0, 2};
    for (int i = 0; i < 2; ++i) list.insert(list.end(), object.begin(), object.end());
    for (std::size_t end = list.size(); end > 8; --end) {
      qel::config::DecodeObject(list.data(), static_cast<unsigned>(end), kFormat);
      MemoryDeSerializer stream(kFormat, list.data() + 8, list.data() + end, false);
      Serializable* read = nullptr;
      stream.Read("Object", read);
    }
    const auto id = static_cast<eClassID_t>(object[3]);
    EXPECT_EQ(id, ClassFactory::Create(id)->GetClassID());
  }
}

TEST_F(ClassFactoryTest, KeepsThePrototypesOfReplacementFactories) {
  EXPECT_EXIT((DecodeWithReplacements(), ::_exit(HasFailure() ? 1 : 0)),
              ::testing::ExitedWithCode(0), "");
}

TEST_F(ClassFactoryTest, MakesNothingAnyMoreOnceItsFactoriesAreDestroyed) {
  EXPECT_IN_FRESH_PROCESS(
      [] {
        ClassFactory::InitFactories();
        new CountingFactory(kOwnClass);
        ClassFactory::DestroyFactories();
        ClassFactory::DestroyFactories();
        EXPECT_EQ(1, g_deleted);
        ClassFactory::InitFactories();
        EXPECT_EQ(nullptr, ClassFactory::Create(eClassID_IntegerValue));
        EXPECT_EQ(nullptr, ClassFactory::Create(kOwnClass));
        EXPECT_FALSE(ClassFactory::IsShared(eClassID_IntegerValue));
        EXPECT_EQ(8U, ClassFactory::GetRegistrySize());
        Serializable object;
        new CountingFactory(kOwnClass, &object);
        EXPECT_EQ(&object, ClassFactory::Create(kOwnClass));
      },
      "Unable to find class factory for classID = 0\n"
      "Unable to find class factory for classID = 300\n");
}

TEST_F(ClassFactoryTest, ServesManyThreadsAtOnce) {
  ClassFactory::InitFactories();
  CaptureStderr();
  OnThreads(4, [](int thread) {
    auto* const own = new CountingFactory(static_cast<eClassID_t>(5000 + thread));
    for (int i = 0; i < 200; ++i) {
      ClassFactory::Create(i % 2 == 0 ? eClassID_IntegerValue : eClassID_StringValue);
      ClassFactory::Create(static_cast<eClassID_t>(1000 + i));
      ClassFactory::Register(own);
    }
  });
  GetCapturedStderr();
  EXPECT_NE(nullptr, ClassFactory::Create(eClassID_IntegerValue));
}

}  // namespace
