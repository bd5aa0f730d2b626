// What every Config does, whatever it takes to reach the store. Where a way stands apart, the table
// of ways says so.
#include "libconfig/access/ConfigEvent.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/IntegerDescriptor.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "libconfig/mapping/RecorderParamMapper.h"
#include "tests/conformance/Ways.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

using quarn::mapper::RecorderParamMapper;

namespace {

class Configs : public ReachedStore {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Ways, Configs, testing::ValuesIn(WaysThat(kReads)), NameOf);

TEST_P(Configs, BeginWithTheFactoryDefaults) {
  EXPECT_EQ(_number, _config->GetConfigID());
  for (const eParam_t id : GetParamIDs()) {
    // A proxy's is the one of what it stands for.
    const ParamDescriptor* const descriptor = _config->GetParamDescriptor(id);
    if (const auto* const number = dynamic_cast<const IntegerDescriptor*>(descriptor)) {
      unsigned int value = 4711;
      const int result = _config->Get(id, value);
      EXPECT_EQ(Read(value), result) << descriptor->GetParamIDName();
      EXPECT_EQ(number->GetFactoryDefault(), value) << descriptor->GetParamIDName();
      EXPECT_EQ(value, _config->Get(id));
    } else if (const auto* const text = dynamic_cast<const StringDescriptor*>(descriptor)) {
      std::string value = "none";
      EXPECT_EQ(1, _config->Get(id, value)) << descriptor->GetParamIDName();
      EXPECT_EQ(text->GetFactoryDefault(), value) << descriptor->GetParamIDName();
    }
  }
}

TEST_P(Configs, KnowTheCatalogue) {
  EXPECT_EQ(GetParamIDs(), _config->GetParamIDs());
  EXPECT_EQ(GetDescriptor(eParamID_IPConfig), _config->GetParamDescriptor(eParamID_IPConfig));
  EXPECT_EQ(GetDescriptor(eParamID_IPConfig), _config->GetParamDescriptor("eParamID_IPConfig"));
  EXPECT_EQ(nullptr, _config->GetParamDescriptor("eParamID_NoSuchThing"));
}

TEST_P(Configs, ReadBackWhatTheySet) {
  EXPECT_EQ(1, _config->Set(eParamID_IPConfig, 2U));
  EXPECT_EQ(2U, _config->Get(eParamID_IPConfig));
  for (const std::string& text :
       {std::string(), std::string("Edit 7"), std::string("\xC3\xA4 \"quoted\"\n"),
        std::string(GetParam().longestText, 'x')}) {
    EXPECT_EQ(1, _config->Set(eParamID_SysName, text));
    std::string value = "none";
    EXPECT_EQ(1, _config->Get(eParamID_SysName, value));
    if (Is(kSettles)) {
      EXPECT_TRUE(Eventually([&] { return _config->Get(eParamID_SysName, value), value == text; }));
    }
    EXPECT_EQ(text, value);
    EXPECT_TRUE(Eventually([&] { return StoredText() == text; }));
  }
}

TEST_P(Configs, LeaveARefusedValueUnstored) {
  RecordingListener listener;
  _store->AddConfigEventListener(&listener);
  EXPECT_EQ(Is(kAnswersNumbers) ? 0 : 1, _config->Set(eParamID_IPConfig, 77U));
  EXPECT_EQ(Is(kAnswersNumbers) ? 0 : 1, _config->Set(static_cast<eParam_t>(0x01020304), 1U));
  EXPECT_EQ(Is(kAnswersTexts) ? 0 : 1,
            _config->Set(static_cast<eParam_t>(0x01020304), std::string("x")));
  // The answer to this says that all of them have been worked on.
  std::string reel;
  EXPECT_EQ(1, _config->Get(eParamID_ReelName, reel));
  EXPECT_EQ(0U, _store->Get(eParamID_IPConfig));
  EXPECT_THAT(listener.GetHeard(), IsEmpty());
  EXPECT_EQ(nullptr, FindDescriptor(static_cast<eParam_t>(0x01020304)));
  _store->RemoveConfigEventListener(&listener);
}

TEST_P(Configs, AnnounceChangesInTheOrderInWhichTheyWereStored) {
  if (!Is(kHears)) GTEST_SKIP() << "changes do not come this way";
  RecordingListener listener;
  ASSERT_EQ(1, _config->AddConfigEventListener(&listener));
  _config->Set(eParamID_IPConfig, 1U);
  ASSERT_EQ(1, _config->Set(eParamID_SysName, std::string("Edit 7")));
  ASSERT_TRUE(Eventually([&] { return StoredText() == "Edit 7"; }));
  _store->Set(eParamID_SysName, std::string("behind its back"));
  ASSERT_TRUE(listener.WaitFor(eParamID_SysName, "behind its back"));
  EXPECT_THAT(listener.GetValues(eParamID_SysName), ElementsAre("Edit 7", "behind its back"));
  // The change itself first, then those that depend on it, each with its current value. A mapped
  // configuration has proxies behind each of them.
  const auto heard = listener.GetHeard();
  const auto proxiesOf = [&](eParam_t id) {
    return Is(kMapped) ? RecorderParamMapper().ParamsChangedBy(id).size() : 0;
  };
  const auto dependents = GetDescriptor(eParamID_IPConfig)->GetDependentParamIDs();
  ASSERT_GE(heard.size(), 1 + dependents.size());
  EXPECT_EQ(std::make_pair(eParamID_IPConfig, std::string("1")), heard[0]);
  std::size_t next = 1 + proxiesOf(eParamID_IPConfig);
  for (const eParam_t dependent : dependents) {
    ASSERT_LT(next, heard.size());
    EXPECT_EQ(dependent, heard[next].first);
    EXPECT_EQ(std::to_string(_store->Get(dependent)), heard[next].second);
    next += 1 + proxiesOf(dependent);
  }
  EXPECT_EQ(1, _config->RemoveConfigEventListener(&listener));
}

TEST_P(Configs, CallAListenerAsOftenAsTheyKeepIt) {
  if (!Is(kHears)) GTEST_SKIP() << "changes do not come this way";
  RecordingListener listener;
  RecordingListener last;
  ASSERT_EQ(1, _config->AddConfigEventListener(&listener));
  ASSERT_EQ(1, _config->AddConfigEventListener(&listener));
  ASSERT_EQ(1, _config->AddConfigEventListener(&last));
  // A registration is not answered; what is answered after it says that it has arrived.
  std::string reel;
  ASSERT_EQ(1, _config->Get(eParamID_ReelName, reel));
  _store->Set(eParamID_MediaUpdated, 1U);
  ASSERT_TRUE(last.WaitFor(eParamID_MediaUpdated, "1"));
  EXPECT_EQ(Is(kKeepsDuplicates) ? 2U : 1U, listener.GetHeard().size());
  EXPECT_EQ(1, _config->RemoveConfigEventListener(&listener));
  EXPECT_EQ(Is(kKeepsDuplicates) ? 1 : 0, _config->RemoveConfigEventListener(&listener));
  const std::size_t before = listener.GetHeard().size();
  _store->Set(eParamID_MediaUpdated, 2U);
  ASSERT_TRUE(last.WaitFor(eParamID_MediaUpdated, "2"));
  EXPECT_EQ(before, listener.GetHeard().size());
  EXPECT_EQ(1, _config->RemoveConfigEventListener(&last));
  unsigned value;
  const int result = _config->Get(eParamID_MediaUpdated, value);
  EXPECT_EQ(Is(kLivesWithoutListeners) ? Read(2) : 0, result);
}

TEST_P(Configs, AnswerWhatTheyDoNotOfferWithNothing) {
  unsigned int transaction;
  ConfigEvent event;
  EXPECT_EQ(0, _config->SetSerializable(eParamID_IPConfig, nullptr));
  // Over a queue this waits for an event, as long as it takes.
  if (!Is(kQueue)) {
    EXPECT_EQ(0, _config->WaitForConfigEvent(event, 0, 0));
  }
  EXPECT_THAT(_config->GetDescriptorsByClassName("volatile"), IsEmpty());
  EXPECT_EQ(0, _config->Lock(eParamID_IPConfig, Config::eParamLock_Exclusive));
  EXPECT_EQ(0, _config->StartTransaction({eParamID_IPConfig}, transaction));
  EXPECT_EQ(Is(kLendsValues), _config->GetSerializable(eParamID_IPConfig) != nullptr);
  EXPECT_EQ(Is(kTakesRules) ? 1 : 0, _config->AddUpdatePrecondition(nullptr));
  EXPECT_EQ(Is(kTakesRules) ? 1 : 0, _config->RemoveUpdatePrecondition(nullptr));
}

TEST_P(Configs, BearManyThreads) {
  // Two of them on a connection of their own.
  Config* const other = Connect();
  OnThreads(4, [&](int thread) {
    Config* const config = thread < 2 ? _config : other;
    for (unsigned i = 0; i < 200; ++i) {
      ASSERT_EQ(1, config->Set(eParamID_IPConfig, i % 3));
      unsigned number;
      const int result = config->Get(eParamID_IPConfig, number);
      ASSERT_EQ(Read(number), result);
      ASSERT_LE(number, 2U);
      ASSERT_EQ(1, config->Set(eParamID_SysName, std::string(i, static_cast<char>('a' + thread))));
      std::string text;
      ASSERT_EQ(1, config->Get(eParamID_SysName, text));
      // Whole texts, whoever set them.
      ASSERT_EQ(std::string::npos, text.find_first_not_of(text.empty() ? 'a' : text[0]));
    }
  });
  GiveBack(other);
}
