// The values of parameters: what changes them, what makes them equal, how they travel, and the
// semaphore that guards them.
#include <limits.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/time.h>

#include <atomic>
#include <functional>
#include <memory>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/IntegerDescriptor.h"
#include "libconfig/serialization/MemoryDeSerializer.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

namespace {

constexpr auto kConfig = static_cast<eConfigID_t>(7);
constexpr auto kUnknownParam = static_cast<eParam_t>(0x01020304);

unsigned int NumberOf(IntegerValue& value) {
  unsigned int number = 0xDEAD;
  value.Get(number);
  return number;
}

std::string TextOf(StringValue& value) {
  std::string text = "unread";
  value.Get(text);
  return text;
}

TEST(Value, BecomesDirtyOnlyByARealChange) {
  IntegerValue number(kConfig, eParamID_IPConfig, eParamType_Enum, 5);
  StringValue text(kConfig, eParamID_SysName, eParamType_String, "");
  number.Set(5);
  number.SetConfigID(kConfig);
  number.SetParamID(eParamID_IPConfig);
  number.SetParamType(eParamType_Enum);
  text.Set("");
  EXPECT_FALSE(number.IsDirty());
  EXPECT_FALSE(text.IsDirty());

  const auto becomesDirty = [](ConfigValue& value, auto change) {
    value.SetDirty(false);
    change();
    return value.IsDirty();
  };
  EXPECT_TRUE(becomesDirty(number, [&] { number.Set(6); }));
  EXPECT_TRUE(becomesDirty(number, [&] { number.SetConfigID(eConfigID_Default); }));
  EXPECT_TRUE(becomesDirty(number, [&] { number.SetParamID(eParamID_GenLock); }));
  EXPECT_TRUE(becomesDirty(number, [&] { number.SetParamType(eParamType_Integer); }));
  EXPECT_TRUE(becomesDirty(text, [&] { text.Set(std::string("a\0b", 3)); }));
  EXPECT_TRUE(becomesDirty(text, [&] { text.Set(std::string("a\0c", 3)); }));
  EXPECT_EQ(6U, NumberOf(number));
}

TEST(Value, EqualsAnotherInEveryFieldAndTheDirtyFlag) {
  IntegerValue number(kConfig, eParamID_IPConfig, eParamType_Enum, 5);
  const std::function<void(IntegerValue&)> changes[] = {
      [](IntegerValue& v) { v.SetClassID(eClassID_StringValue); },
      [](IntegerValue& v) { v.SetConfigID(eConfigID_Default); },
      [](IntegerValue& v) { v.SetParamID(eParamID_GenLock); },
      [](IntegerValue& v) { v.SetParamType(eParamType_Integer); },
      [](IntegerValue& v) { v.Set(6); },
      [](IntegerValue& v) { v.SetDirty(true); },
  };
  for (const auto& change : changes) {
    IntegerValue other(kConfig, eParamID_IPConfig, eParamType_Enum, 5);
    EXPECT_TRUE(number.IsEqual(&other));
    change(other);
    if (&change != std::end(changes) - 1) other.SetDirty(false);
    EXPECT_FALSE(number.IsEqual(&other) || other.IsEqual(&number)) << &change - changes;
  }
  StringValue impostor(kConfig, eParamID_IPConfig, eParamType_Enum, "5");
  impostor.SetClassID(eClassID_IntegerValue);
  EXPECT_FALSE(impostor.IsEqual(&number) || number.IsEqual(&impostor) || number.IsEqual(nullptr));
}

TEST(Value, ClonesIntoACleanObjectOfItsOwn) {
  StringValue text(kConfig, eParamID_SysName, eParamType_String, "old");
  text.Set("new");
  const std::unique_ptr<ConfigValue> clone(text.Clone());
  EXPECT_FALSE(clone->IsDirty());
  EXPECT_FALSE(clone->IsEqual(&text)) << "for the source is dirty";
  text.SetDirty(false);
  EXPECT_TRUE(clone->IsEqual(&text));
  text.Set("newer");
  EXPECT_EQ("new", TextOf(dynamic_cast<StringValue&>(*clone)));
}

TEST(Value, CopiesConfigurationAndPayloadButNotTheParameter) {
  IntegerValue source(kConfig, eParamID_GenLock, eParamType_Enum, 2);
  IntegerValue target(eConfigID_Default, eParamID_IntervalTime, eParamType_Integer, 10);
  StringValue text(kConfig, eParamID_SysName, eParamType_String, "text");
  target.CopyValue(text);
  EXPECT_EQ(10U, NumberOf(target));
  target.CopyValue(source);
  EXPECT_EQ(2U, NumberOf(target));
  EXPECT_EQ(eConfigID_Default, target.GetConfigID());
  target.Copy(source);
  target.Copy(target);
  EXPECT_EQ(kConfig, target.GetConfigID());
  EXPECT_EQ(eParamID_IntervalTime, target.GetParamID());
  EXPECT_EQ(eParamType_Integer, target.GetParamType());
  EXPECT_TRUE(target.IsDirty());
}

TEST(Value, ResetsToTheCataloguesDefault) {
  CreateDescriptors();
  StringValue text(kConfig, eParamID_ReelName, eParamType_String, "mine");
  text.ResetToFactory();
  EXPECT_EQ("001", TextOf(text));
  EXPECT_TRUE(text.IsDirty());
  // A descriptor of the other kind, and none.
  for (const eParam_t id : {eParamID_IntervalTime, eParamID_SysName, kUnknownParam}) {
    IntegerValue number(kConfig, id, eParamType_Integer, 77);
    number.ResetToFactory();
    EXPECT_EQ(id == eParamID_IntervalTime ? 10U : 77U, NumberOf(number)) << id;
  }
}

TEST(Value, TellsWhatItIsInOneLine) {
  EXPECT_EQ("configID = -2147483648, paramID = 0x1A, paramType = 3, value = -1 = 0Xffffffff",
            IntegerValue(static_cast<eConfigID_t>(INT32_MIN), static_cast<eParam_t>(26),
                         eParamType_Enum, 0xffffffff)
                .ToString());
  EXPECT_EQ("configID = 7, paramID = 0x32050000, paramType = 12, value = 100% \"name\"",
            StringValue(kConfig, eParamID_SysName, eParamType_String, "100% \"name\"").ToString());
}

TEST(Value, TakesAStreamsFieldsWithoutBecomingDirty) {
  char bytes[] = "\xff\xff\xff\xfe\x09\x03\x00\x00";
  MemoryDeSerializer cut(eSerializationFormat_Network, bytes, bytes + 7, false);
  StringValue text(kConfig, eParamID_SysName, eParamType_String, "kept");
  text.Deserialize(&cut);
  EXPECT_EQ(static_cast<eConfigID_t>(-2), text.GetConfigID());
  EXPECT_EQ(eParamID_SysName, text.GetParamID());
  EXPECT_EQ("kept", TextOf(text));
  EXPECT_FALSE(text.IsDirty());
}

TEST(ValueStream, DecodesIntoPrivateObjects) {
  StringValue one(kConfig, eParamID_SysName, eParamType_String, "one");
  StringValue two(eConfigID_Default, eParamID_ReelName, eParamType_String, "two");
  auto first = qel::config::EncodeValue(one, eSerializationFormat_Network, 3);
  auto second = qel::config::EncodeValue(two, eSerializationFormat_Network, 0);
  ASSERT_EQ(3 + 20U, first.size()) << "with room left in front";
  const auto decode = [](std::vector<char>& bytes, std::size_t from, std::size_t length) {
    return qel::config::DecodeValue(bytes.data() + from, static_cast<unsigned int>(length),
                                    eSerializationFormat_Network);
  };
  const auto decodedOne = decode(first, 3, 20);
  const auto decodedTwo = decode(second, 0, 20);
  ASSERT_NE(nullptr, decodedOne);
  ASSERT_NE(nullptr, decodedTwo);
  EXPECT_TRUE(decodedOne->IsEqual(&one));
  EXPECT_TRUE(decodedTwo->IsEqual(&two));
  EXPECT_EQ(nullptr, decode(first, 3, 19));
}

// Whoever sends a list of much instead of a value gets neither time nor lines of the log for it.
TEST(ValueStream, DoesNotReadWhatIsNoValue) {
  std::vector<char> list(1 << 20, '\3');
  std::fill(list.begin(), list.begin() + 8, '\0');
  list[3] = eClassID_Vector;
  list[5] = 3;  // items, of no class that there is
  CaptureStderr();
  EXPECT_EQ(nullptr, qel::config::DecodeValue(list.data(), static_cast<unsigned int>(list.size()),
                                              eSerializationFormat_Network));
  EXPECT_EQ("", GetCapturedStderr());
}

TEST(ValueStream, NeverMixesWhatSeveralThreadsDecode) {
  std::atomic<int> mixed{0};
  OnThreads(4, [&](int thread) {
    StringValue own(kConfig, eParamID_SysName, eParamType_String,
                    std::string(1000, static_cast<char>('a' + thread)));
    auto bytes = qel::config::EncodeValue(own, eSerializationFormat_Network, 0);
    for (int i = 0; i < 5000; ++i) {
      const auto decoded = qel::config::DecodeValue(
          bytes.data(), static_cast<unsigned int>(bytes.size()), eSerializationFormat_Network);
      if (decoded == nullptr || !decoded->IsEqual(&own)) ++mixed;
    }
  });
  EXPECT_EQ(0, mixed);
}

// Changes as soon as somebody has looked at it.
class Growing : public StringValue {
 public:
  using StringValue::StringValue;
  void Serialize(Serializer* serializer) override {
    StringValue::Serialize(serializer);
    Set(std::string(5000, 'l'));
  }
};

TEST(ValueStream, EncodesAValueThatChangesMeanwhileAsItWasOnce) {
  Growing growing(kConfig, eParamID_SysName, eParamType_String, "s");
  const auto bytes = qel::config::EncodeValue(growing, eSerializationFormat_Network, 0);
  EXPECT_EQ(18U, bytes.size());
  EXPECT_EQ("s", std::string(bytes.data() + 16, bytes.data() + bytes.size() - 1));
}

TEST(SemaphoreHelper, GoesOnWaitingWhenASignalInterrupts) {
  static Semaphore semaphore;
  static std::atomic<int> signals;
  SemaphoreHelper::Wait(semaphore.Get());
  signals = 0;
  struct sigaction action = {};
  action.sa_handler = [](int) {
    if (++signals == 20) ::sem_post(semaphore.Get());
  };
  struct sigaction before;
  ASSERT_EQ(0, ::sigaction(SIGALRM, &action, &before));
  itimerval timer = {{0, 1000}, {0, 1000}};
  ::setitimer(ITIMER_REAL, &timer, nullptr);
  SemaphoreHelper::Wait(semaphore.Get());
  EXPECT_LE(20, signals);
  timer = {};
  ::setitimer(ITIMER_REAL, &timer, nullptr);
  ::sigaction(SIGALRM, &before, nullptr);
}

void HoldNothing() LIBCONFIG_NO_THREAD_SAFETY_ANALYSIS { const SemaphoreHelper none(nullptr); }

TEST(SemaphoreHelper, ReportsAFailureAndGoesOn) {
  sem_t full;
  ASSERT_EQ(0, ::sem_init(&full, 0, SEM_VALUE_MAX));
  CaptureStderr();
  SemaphoreHelper::Post(&full);
  EXPECT_EQ(
      "SemaphoreHelper::~SemaphoreHelper failed to post\n"
      ": Value too large for defined data type\n",
      GetCapturedStderr());
  HoldNothing();
}

}  // namespace
