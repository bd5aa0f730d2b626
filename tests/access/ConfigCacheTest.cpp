// The cache in front of a configuration that counts how often it is asked.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "libconfig/access/ConfigCache.h"
#include "libconfig/base/Limits.h"
#include "libconfig/descriptors/Catalogue.h"
#include "tests/testing/RecordingListener.h"

namespace {

using ::testing::ElementsAre;
using testing_support::RecordingListener;

constexpr auto kPlain = eParamID_IntervalTime;
constexpr auto kVolatile = eParamID_Progress;
constexpr auto kText = eParamID_SysName;
constexpr auto kVolatileText = eParamID_Status;
constexpr auto kUnknown = static_cast<eParam_t>(0x01020304);

// The other end: values, and a tally of what went over the line.
class Remote : public Config {
 public:
  explicit Remote(bool& gone) : _gone(gone) {}
  ~Remote() override { _gone = true; }

  int Set(eParam_t id, unsigned int value) override { return Store(numbers, id, value); }
  int Set(eParam_t id, std::string value) override { return Store(texts, id, value); }
  unsigned int Get(eParam_t id) override {
    unsigned int value = 0;
    return Get(id, value) != 0 ? value : 0;
  }
  int Get(eParam_t id, unsigned int& value) override { return Fetch(numbers, id, value); }
  int Get(eParam_t id, std::string& value) override { return Fetch(texts, id, value); }
  eConfigID_t GetConfigID() override { return static_cast<eConfigID_t>(9); }
  timeval GetLastConfigUpdate() override { return {12, 34}; }
  ParamDescriptor* GetParamDescriptor(eParam_t id) override {
    ++descriptorsAsked;
    return FindDescriptor(id);
  }
  ParamDescriptor* GetParamDescriptor(std::string name) override { return GetDescriptor(name); }
  std::vector<eParam_t> GetParamIDs() override { return {kPlain}; }
  std::vector<ParamDescriptor*> GetDescriptorsByClassName(std::string) override {
    return {FindDescriptor(kPlain)};
  }
  int AddConfigEventListener(ConfigEventListener*) override { return ++forwarded; }
  int AddConfigEventListener(eParam_t, ConfigEventListener*) override { return ++forwarded; }
  int AddConfigEventListener(std::list<eParam_t> ids, ConfigEventListener*) override {
    return forwarded += static_cast<int>(ids.size());
  }
  int RemoveConfigEventListener(ConfigEventListener*) override { return ++forwarded; }
  int WaitForConfigEvent(ConfigEvent&, long, long) override { return ++forwarded; }
  int Lock(eParam_t, eParamLock_t) override { return 1; }

  std::map<eParam_t, unsigned int> numbers;
  std::map<eParam_t, std::string> texts;
  int gets = 0;
  int sets = 0;
  int descriptorsAsked = 0;
  int forwarded = 0;
  bool failing = false;
  std::function<void()> meanwhile = [] {};  // before an answer arrives

 private:
  template <typename Map, typename Value>
  int Fetch(Map& map, eParam_t id, Value& value) {
    ++gets;
    const Value answer = map[id];
    meanwhile();
    if (failing) return 0;
    value = answer;
    return 1;
  }
  template <typename Map, typename Value>
  int Store(Map& map, eParam_t id, const Value& value) {
    ++sets;
    if (!failing) map[id] = value;
    meanwhile();
    return failing ? 0 : 1;
  }

  bool& _gone;
};

class ConfigCacheTest : public ::testing::Test {
 protected:
  ConfigCacheTest() { CreateDescriptors(); }

  std::string Text(eParam_t id) {
    std::string text = "unread";
    return _cache->Get(id, text) != 0 ? text : "failed";
  }

  bool _gone = false;
  Remote* const _remote = new Remote(_gone);
  std::unique_ptr<ConfigCache> _cache = std::make_unique<ConfigCache>(_remote);
};

TEST_F(ConfigCacheTest, AsksOnceForWhatIsNotVolatile) {
  _remote->numbers = {{kPlain, 5}, {kVolatile, 6}};
  _remote->texts = {{kText, "rack"}, {kVolatileText, "Ready"}};
  unsigned int value = 0;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(5U, _cache->Get(kPlain));
    EXPECT_EQ(1, _cache->Get(kPlain, value));
    EXPECT_EQ(5U, value);
    EXPECT_EQ("rack", Text(kText));
  }
  EXPECT_EQ(2, _remote->gets);
  EXPECT_EQ(2, _remote->descriptorsAsked) << "what is volatile is known from then on";
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(6U, _cache->Get(kVolatile));
    EXPECT_EQ("Ready", Text(kVolatileText));
    _cache->Get(kUnknown);
  }
  EXPECT_EQ(11, _remote->gets) << "a parameter without descriptor is volatile";
}

TEST_F(ConfigCacheTest, TakesVolatilityFromAClassNameOrAnAttribute) {
  EXPECT_EQ(0U, _cache->Get(eParamID_GenLock));
  GetDescriptor(eParamID_VideoInSelect)->AddAttribute("volatile", 0U);
  GetDescriptor(eParamID_AudioInSelect)->AddAttribute("volatile", std::string());
  for (const eParam_t id : {eParamID_GenLock, eParamID_VideoInSelect, eParamID_AudioInSelect}) {
    _cache->Get(id);
    _cache->Get(id);
  }
  EXPECT_EQ(1 + 0 + 2 + 2, _remote->gets);
  DestroyDescriptors();
  CreateDescriptors();
}

TEST_F(ConfigCacheTest, SendsNothingForAValueThatIsThereAlready) {
  _remote->numbers[kPlain] = 5;
  EXPECT_EQ(1, _cache->Set(kPlain, 5U)) << "asked for first";
  EXPECT_EQ(1, _cache->Set(kPlain, 5U));
  EXPECT_EQ(0, _remote->sets);
  EXPECT_EQ(1, _cache->Set(kPlain, 6U));
  EXPECT_EQ(6U, _cache->Get(kPlain));
  EXPECT_EQ(1, _cache->Set(kText, std::string("new")));
  EXPECT_EQ(1, _cache->Set(kText, std::string("new")));
  EXPECT_EQ("new", Text(kText));
  EXPECT_EQ(2, _remote->sets);
  EXPECT_EQ(2, _remote->gets);
  _cache->Set(kVolatile, 1U);
  _cache->Set(kVolatile, 1U);
  EXPECT_EQ(4, _remote->sets);
}

TEST_F(ConfigCacheTest, KeepsNothingOfWhatFailed) {
  _remote->numbers[kPlain] = 5;
  _remote->failing = true;
  unsigned int value = 77;
  EXPECT_EQ(0, _cache->Get(kPlain, value));
  EXPECT_EQ(77U, value);
  EXPECT_EQ(0U, _cache->Get(kPlain));
  EXPECT_EQ("failed", Text(kText));
  EXPECT_EQ(0, _cache->Set(kPlain, 0U)) << "a time-out is not a zero";
  _remote->failing = false;
  EXPECT_EQ(5U, _cache->Get(kPlain));
  _remote->failing = true;
  EXPECT_EQ(0, _cache->Set(kPlain, 6U));
  EXPECT_EQ(5U, _cache->Get(kPlain)) << "the old value stays";
}

TEST_F(ConfigCacheTest, ReadsWithoutAResultWhereThereIsNoOtherWay) {
  struct Plain : Remote {
    using Remote::Get;
    using Remote::Remote;
    int Get(eParam_t, unsigned int&) override { return 0; }
    unsigned int Get(eParam_t id) override {
      ++gets;
      return numbers[id];
    }
  };
  auto* const plain = new Plain(_gone);
  ConfigCache cache(plain);
  EXPECT_EQ(0U, cache.Get(kPlain));
  plain->numbers[kPlain] = 5;
  EXPECT_EQ(5U, cache.Get(kPlain)) << "the 0 may have been a failure";
  EXPECT_EQ(5U, cache.Get(kPlain));
  EXPECT_EQ(2, plain->gets);
}

TEST_F(ConfigCacheTest, TakesOverWhatEventsTell) {
  _remote->numbers[kPlain] = 5;
  _cache->Get(kPlain);
  _cache->ParamChanged(kPlain, 8U, timeval{});
  _cache->ParamChanged(kText, std::string("told"), timeval{});
  _cache->ParamChanged(kVolatile, 9U, timeval{});
  _cache->ParamChanged(ConfigEvent{kPlain, eParamType_Integer, 1, "", {}});
  EXPECT_EQ(8U, _cache->Get(kPlain));
  EXPECT_EQ("told", Text(kText));
  EXPECT_EQ(1, _remote->gets);
  EXPECT_EQ(0U, _cache->Get(kVolatile)) << "but a volatile one is asked for";
}

TEST_F(ConfigCacheTest, PrefersAnEventToTheAnswerThatItOvertook) {
  _remote->numbers[kPlain] = 5;
  _remote->meanwhile = [&] { _cache->ParamChanged(kPlain, 8U, timeval{}); };
  EXPECT_EQ(8U, _cache->Get(kPlain));
  _remote->meanwhile = [] {};
  EXPECT_EQ(8U, _cache->Get(kPlain));
  EXPECT_EQ(1, _remote->gets);

  _remote->meanwhile = [&] { _cache->ParamChanged(kPlain, 20U, timeval{}); };
  EXPECT_EQ(1, _cache->Set(kPlain, 30U));
  _remote->meanwhile = [] {};
  EXPECT_EQ(20U, _cache->Get(kPlain)) << "such as the clamped value, or another client's";
}

TEST_F(ConfigCacheTest, IsFilledByEventsOnlyUpToItsLimit) {
  constexpr unsigned int kKeys = qel::config::limits::kCacheKeys;
  static_assert(kKeys == 65536);
  for (unsigned int i = 0; i < kKeys; ++i) {
    _cache->ParamChanged(static_cast<eParam_t>(0x80000000 + i), i, timeval{});
  }
  _cache->ParamChanged(kPlain, 8U, timeval{});
  _remote->numbers[kPlain] = 5;
  EXPECT_EQ(5U, _cache->Get(kPlain)) << "no room for the event, which leaves the asking";
  _cache->ParamChanged(kPlain, 9U, timeval{});
  EXPECT_EQ(9U, _cache->Get(kPlain)) << "known by now, and kept current";
}

TEST_F(ConfigCacheTest, KeepsOnlySoManyBytesOfTexts) {
  const std::string large(1000000, 'x');
  _cache->ParamChanged(kText, "short", timeval{});
  for (unsigned int i = 0; i < 8; ++i) {
    _cache->ParamChanged(static_cast<eParam_t>(0x80000000 + i), large, timeval{});
  }
  EXPECT_EQ("short", Text(kText));
  _cache->ParamChanged(kText, large, timeval{});
  _remote->texts[kText] = "of the other end";
  EXPECT_EQ("of the other end", Text(kText)) << "what did not fit is asked for";
  EXPECT_EQ("of the other end", Text(kText));
  EXPECT_EQ(1, _remote->gets);
}

TEST_F(ConfigCacheTest, ForwardsTheRest) {
  RecordingListener listener;
  EXPECT_EQ(9, _cache->GetConfigID());
  EXPECT_EQ(12, _cache->GetLastConfigUpdate().tv_sec);
  EXPECT_EQ(FindDescriptor(kPlain), _cache->GetParamDescriptor(kPlain));
  EXPECT_EQ(FindDescriptor(kText), _cache->GetParamDescriptor("eParamID_SysName"));
  EXPECT_THAT(_cache->GetParamIDs(), ElementsAre(kPlain));
  EXPECT_EQ(1U, _cache->GetDescriptorsByClassName("any").size());
  EXPECT_EQ(1, _cache->AddConfigEventListener(&listener));
  EXPECT_EQ(2, _cache->AddConfigEventListener(kPlain, &listener));
  EXPECT_EQ(5, _cache->AddConfigEventListener({kPlain, kText, kUnknown}, &listener));
  EXPECT_EQ(6, _cache->RemoveConfigEventListener(&listener));
  ConfigEvent event;
  EXPECT_EQ(7, _cache->WaitForConfigEvent(event, 0, 0));
  EXPECT_EQ(0, _cache->Lock(kPlain, Config::eParamLock_Shared)) << "not the cache's to offer";
  EXPECT_EQ(nullptr, _cache->GetSerializable(kPlain));
  _cache.reset();
  EXPECT_TRUE(_gone) << "deleting the cache ends the connection";
}

TEST_F(ConfigCacheTest, FailsInEveryOperationWithoutAConnection) {
  ConfigCache cache(nullptr);
  RecordingListener listener;
  unsigned int number = 7;
  std::string text = "kept";
  ConfigEvent event;
  EXPECT_EQ(0, cache.Set(kPlain, 1U) + cache.Set(kText, std::string("x")));
  EXPECT_EQ(0, cache.Get(kPlain, number) + cache.Get(kText, text));
  EXPECT_EQ(0U, cache.Get(kVolatile));
  EXPECT_EQ(7U, number);
  EXPECT_EQ("kept", text);
  EXPECT_EQ(0, cache.GetConfigID());
  EXPECT_EQ(0, cache.GetLastConfigUpdate().tv_sec);
  EXPECT_EQ(nullptr, cache.GetParamDescriptor(kPlain));
  EXPECT_EQ(nullptr, cache.GetParamDescriptor("eParamID_SysName"));
  EXPECT_TRUE(cache.GetParamIDs().empty());
  EXPECT_TRUE(cache.GetDescriptorsByClassName("volatile").empty());
  EXPECT_EQ(0, cache.AddConfigEventListener(&listener));
  EXPECT_EQ(0, cache.AddConfigEventListener(kPlain, &listener));
  EXPECT_EQ(0, cache.AddConfigEventListener({kPlain, kText}, &listener));
  EXPECT_EQ(0, cache.RemoveConfigEventListener(&listener));
  EXPECT_EQ(0, cache.WaitForConfigEvent(event, 0, 0));
}

}  // namespace
