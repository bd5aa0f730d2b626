// The cache in front of a configuration that counts how often it is asked.

#include "libconfig/access/ConfigCache.h"
#include "libconfig/base/Limits.h"
#include "libconfig/descriptors/Catalogue.h"
#include "tests/testing/FakeConfig.h"
#include "tests/testing/Names.h"
#include "tests/testing/RecordingListener.h"

namespace {

using qel::config::LastOutcome;
using qel::config::Outcome;

constexpr auto kPlain = eParamID_IntervalTime;
constexpr auto kVolatile = eParamID_Progress;
constexpr auto kText = eParamID_SysName;
constexpr auto kVolatileText = eParamID_Status;
constexpr auto kUnknown = static_cast<eParam_t>(0x01020304);

class ConfigCacheTest : public ::testing::Test {
 protected:
  ConfigCacheTest() { CreateDescriptors(); }

  std::string Text(eParam_t id) {
    std::string text = "unread";
    return _cache->Get(id, text) != 0 ? text : "failed";
  }
  // How often the other end is asked for the number that is read three times.
  int ReadsOf(eParam_t id) {
    const int before = _remote->Count("Get");
    for (int i = 0; i < 3; ++i) _cache->Get(id);
    return _remote->Count("Get") - before;
  }

  FakeConfig* const _remote = new FakeConfig;
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
  EXPECT_EQ(2, _remote->Count("Get"));
  EXPECT_EQ(2, _remote->Count("GetParamDescriptor")) << "what is volatile is known from then on";
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(6U, _cache->Get(kVolatile));
    EXPECT_EQ("Ready", Text(kVolatileText));
  }
  EXPECT_EQ(8, _remote->Count("Get"));
}

TEST_F(ConfigCacheTest, LetsTheOtherEndSayWhatIsVolatile) {
  EXPECT_EQ(3, ReadsOf(kUnknown)) << "nobody has a descriptor";
  ParamDescriptor own;
  _remote->descriptors[kUnknown] = &own;
  EXPECT_EQ(1, ReadsOf(kUnknown)) << "though this process does not know it";
  ParamDescriptor byNumber, byText;
  byNumber.AddAttribute("volatile", 0U);
  byText.AddAttribute("volatile", std::string());
  _remote->descriptors[kPlain] = &byNumber;
  _remote->descriptors[eParamID_GenLock] = &byText;
  EXPECT_EQ(3, ReadsOf(kPlain));
  EXPECT_EQ(3, ReadsOf(eParamID_GenLock));
}

TEST_F(ConfigCacheTest, LeavesFewPlaceholdersBehind) {
  struct Strange : FakeConfig {
    using FakeConfig::GetParamDescriptor;
    ParamDescriptor* GetParamDescriptor(eParam_t id) override {
      return placeholders.emplace_back(GetDescriptor(id)).get();
    }
    std::vector<std::unique_ptr<ParamDescriptor>> placeholders;
  };
  auto* const remote = new Strange;
  ConfigCache cache(remote);
  for (int i = 0; i < 3; ++i) cache.Get(kUnknown);
  EXPECT_EQ(3, remote->Count("Get")) << "a placeholder tells nothing";
  EXPECT_EQ(1U, remote->placeholders.size());
  for (unsigned int i = 0; i < 10000; ++i) cache.Get(static_cast<eParam_t>(0x80000000 + i));
  EXPECT_EQ(qel::config::limits::kCacheStrangers, remote->placeholders.size());
}

TEST_F(ConfigCacheTest, SendsNothingForAValueThatIsThereAlready) {
  _remote->numbers[kPlain] = 5;
  EXPECT_EQ(1, _cache->Set(kPlain, 5U)) << "asked for first";
  EXPECT_EQ(1, _cache->Set(kPlain, 5U));
  EXPECT_EQ(0, _remote->Count("Set"));
  EXPECT_EQ(1, _cache->Set(kPlain, 6U));
  EXPECT_EQ(6U, _cache->Get(kPlain));
  EXPECT_EQ(1, _cache->Set(kText, std::string("new")));
  EXPECT_EQ(1, _cache->Set(kText, std::string("new")));
  EXPECT_EQ("new", Text(kText));
  EXPECT_EQ(2, _remote->Count("Set"));
  EXPECT_EQ(2, _remote->Count("Get"));
  _cache->Set(kVolatile, 1U);
  _cache->Set(kVolatile, 1U);
  EXPECT_EQ(4, _remote->Count("Set"));
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

TEST_F(ConfigCacheTest, KeepsAZeroThatWasRead) {
  EXPECT_EQ(1, ReadsOf(kPlain));
  _remote->setsOutcomes = _remote->returnsNumbers = true;
  EXPECT_EQ(1, ReadsOf(eParamID_GenLock));
  EXPECT_EQ(1, _cache->Set(eParamID_GenLock, 0U));
  EXPECT_EQ(0, _remote->Count("Set"));

  auto* const plain = new FakeConfig;
  plain->plain = true;
  ConfigCache cache(plain);
  EXPECT_EQ(0U, cache.Get(kPlain));
  plain->numbers[kPlain] = 5;
  EXPECT_EQ(5U, cache.Get(kPlain)) << "the 0 may have been a failure";
  EXPECT_EQ(5U, cache.Get(kPlain));
  EXPECT_EQ(2, plain->Count("Get"));
}

TEST_F(ConfigCacheTest, TellsWhyAnOperationFailed) {
  _remote->setsOutcomes = true;
  _cache->Get(kPlain);
  _remote->failing = true;
  EXPECT_EQ("failed", Text(kText));
  EXPECT_EQ(Outcome::kNoAnswer, LastOutcome());
  _cache->Get(kPlain);
  EXPECT_EQ(Outcome::kDone, LastOutcome());
  EXPECT_EQ(0, _cache->Set(kPlain, 7U));
  EXPECT_EQ(Outcome::kNoAnswer, LastOutcome());
  EXPECT_EQ(1, _cache->Set(kPlain, 0U));
  EXPECT_EQ(Outcome::kDone, LastOutcome());
  _remote->setsOutcomes = false;
  _cache->Get(kVolatile);
  EXPECT_EQ(Outcome::kUnknown, LastOutcome());
  ConfigCache(nullptr).Get(kPlain);
  EXPECT_EQ(Outcome::kNoConnection, LastOutcome());
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
  EXPECT_EQ(1, _remote->Count("Get"));
  EXPECT_EQ(0U, _cache->Get(kVolatile)) << "but a volatile one is asked for";
}

TEST_F(ConfigCacheTest, PrefersAnEventToTheAnswerThatItOvertook) {
  _remote->numbers[kPlain] = 5;
  _remote->meanwhile = [&] { _cache->ParamChanged(kPlain, 8U, timeval{}); };
  EXPECT_EQ(8U, _cache->Get(kPlain));
  _remote->meanwhile = [] {};
  EXPECT_EQ(8U, _cache->Get(kPlain));
  EXPECT_EQ(1, _remote->Count("Get"));

  _remote->meanwhile = [&] { _cache->ParamChanged(kPlain, 20U, timeval{}); };
  EXPECT_EQ(1, _cache->Set(kPlain, 30U));
  _remote->meanwhile = [] {};
  EXPECT_EQ(20U, _cache->Get(kPlain)) << "such as the clamped value, or another client's";
}

TEST_F(ConfigCacheTest, HearsEventsUntilItsConnectionHasEnded) {
  _cache->Set(kText, std::string(100, 'x'));
  EXPECT_EQ(0, _cache->AddConfigEventListener(nullptr));
  EXPECT_EQ(1, _cache->AddConfigEventListener(_cache.get()));
  ASSERT_EQ(1U, _remote->listeners.size());
  bool ended = false;
  _remote->atEnd = [&, listener = _remote->listeners[0]] {
    listener->ParamChanged(kPlain, 7U, timeval{});
    listener->ParamChanged(kText, std::string(200, 'y'), timeval{});
    ended = true;
  };
  _cache.reset();
  EXPECT_TRUE(ended) << "deleting the cache ends the connection";
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
  EXPECT_EQ(1, _remote->Count("Get"));
}

TEST_F(ConfigCacheTest, FailsWithoutAConnection) {
  ConfigCache cache(nullptr);
  unsigned int number = 7;
  EXPECT_EQ(0, cache.Set(kPlain, 1U) + cache.Get(kPlain, number));
  EXPECT_EQ(7U, number);
  EXPECT_EQ(nullptr, cache.GetParamDescriptor(kPlain));
}

}  // namespace
