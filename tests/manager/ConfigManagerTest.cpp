// The store: what it keeps, and who hears of it in which order.
#include <malloc.h>

#include <thread>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/StringValue.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

namespace {

using Event = std::pair<eParam_t, std::string>;

constexpr auto kUnknown = static_cast<eParam_t>(0x01020304);

class ConfigManagerTest : public ::testing::Test {
 protected:
  ConfigManagerTest() {
    CreateDescriptors();
    CaptureStderr();
    _store->Init();
    _initMessages = GetCapturedStderr();
  }

  const std::shared_ptr<ConfigManager> _store =
      std::make_shared<ConfigManager>(static_cast<eConfigID_t>(5));
  std::string _initMessages;
};

TEST_F(ConfigManagerTest, MakesItsValuesWhenItIsInitialised) {
  EXPECT_EQ("AddDefaultPreconditions\nConfigManager::InitDefaultConfig() - end\n", _initMessages);
  for (const eParam_t id : GetParamIDs()) {
    auto* const value = dynamic_cast<ConfigValue*>(_store->GetSerializable(id));
    ASSERT_NE(nullptr, value) << std::hex << id;
    EXPECT_EQ(id, value->GetParamID());
    EXPECT_EQ(5, value->GetConfigID());
    EXPECT_EQ(GetDescriptor(id)->GetParamType(), value->GetParamType());
    EXPECT_TRUE(value->IsDirty()) << "its configuration is not 0";
  }
}

TEST_F(ConfigManagerTest, StoresWhatFitsAndAnnouncesWhatItStored) {
  RecordingListener listener;
  ASSERT_EQ(1, _store->AddConfigEventListener(eParamID_GenLock, &listener));
  const unsigned int before = _store->Get(eParamID_GenLock);
  EXPECT_EQ(1, _store->Set(eParamID_IntervalTime, 0U));
  EXPECT_EQ(1, _store->Set(eParamID_IntervalTime, 86401U));
  EXPECT_EQ(1, _store->Set(eParamID_IntervalTime, 86400U)) << "the same value is an event, too";
  EXPECT_EQ(0, _store->Set(eParamID_GenLock, 3U));
  EXPECT_EQ(1, _store->Set(eParamID_ExtendedAlarm, 0xffffffff)) << "do_not_validate";
  EXPECT_EQ(1, _store->Set(eParamID_SysName, std::string("100%")));
  EXPECT_THAT(
      listener.GetHeard(),
      ElementsAre(Event(eParamID_IntervalTime, "1"), Event(eParamID_IntervalTime, "86400"),
                  Event(eParamID_IntervalTime, "86400"),
                  Event(eParamID_ExtendedAlarm, "4294967295"), Event(eParamID_SysName, "100%")));
  EXPECT_EQ(86400U, _store->Get(eParamID_IntervalTime));
  EXPECT_EQ(before, _store->Get(eParamID_GenLock));
  EXPECT_EQ(0, _store->GetLastConfigUpdate().tv_sec);
}

TEST_F(ConfigManagerTest, RefusesValuesOfTheOtherKindButAnnouncesThem) {
  RecordingListener listener;
  _store->AddConfigEventListener(&listener);
  CaptureStderr();
  EXPECT_EQ(0, _store->Set(eParamID_SysName, 4U));
  EXPECT_EQ(0, _store->Set(eParamID_IntervalTime, std::string("4")));
  EXPECT_EQ("ConfigManager::SetConfigParam() - configValue == NULL\n", GetCapturedStderr());
  EXPECT_THAT(listener.GetHeard(),
              ElementsAre(Event(eParamID_SysName, "4"), Event(eParamID_IntervalTime, "4")));
  unsigned int number = 7;
  std::string text = "kept";
  EXPECT_EQ(0, _store->Get(eParamID_SysName, number));
  EXPECT_EQ(0, _store->Get(eParamID_IntervalTime, text));
  EXPECT_EQ(7U, number);
  EXPECT_EQ("kept", text);
  EXPECT_EQ(10U, _store->Get(eParamID_IntervalTime));
}

TEST_F(ConfigManagerTest, KnowsNothingOfUnknownNumbersAndLeaksNothingForThem) {
  RecordingListener listener;
  _store->AddConfigEventListener(&listener);
  unsigned int number = 7;
  std::string text = "kept";
  Serializable* out = nullptr;
  CaptureStderr();
  EXPECT_EQ(0, _store->Set(kUnknown, 1U));
  EXPECT_EQ(0, _store->Set(kUnknown, std::string("1")));
  EXPECT_EQ(0, _store->Get(kUnknown, number));
  EXPECT_EQ(nullptr, _store->GetSerializable(kUnknown));
  EXPECT_FALSE(_store->GetConfigValue(kUnknown, out));
  EXPECT_EQ("", GetCapturedStderr());
  CaptureStderr();
  EXPECT_EQ(0, _store->Get(kUnknown, text));
  EXPECT_FALSE(_store->SetConfigParam(kUnknown, std::string("1")));
  EXPECT_EQ(
      "ConfigManager::GetConfigParam() - configValue == NULL for paramID = 1020304\n"
      "ConfigManager::SetConfigParam() - configValue == NULL for paramID = 01020304\n",
      GetCapturedStderr());
  EXPECT_EQ("kept", text);
  EXPECT_THAT(listener.GetHeard(), IsEmpty());

  const auto inUse = ::mallinfo2().uordblks;
  for (unsigned int i = 0; i < 100000; ++i) {
    const auto id = static_cast<eParam_t>(0x01020300 + i % 256);
    _store->Set(id, _store->Get(id));
    _store->GetSerializable(id);
  }
  EXPECT_LE(::mallinfo2().uordblks, inUse + 4096);
}

TEST_F(ConfigManagerTest, TellsOfDependentsBehindTheChangeOneLevelDeep) {
  _store->SetConfigParam(eParamID_VolumeName, std::string("disk"));
  RecordingListener other;
  _store->AddConfigEventListener(&other);
  GetDescriptor(eParamID_VolumeName)->AddDependentParamID(eParamID_GenLock);
  _store->Set(eParamID_SelectedSlot, 1U);
  EXPECT_THAT(other.GetHeard(),
              ElementsAre(Event(eParamID_SelectedSlot, "1"),
                          Event(eParamID_CurrentMediaAvailable,
                                std::to_string(_store->Get(eParamID_CurrentMediaAvailable))),
                          Event(eParamID_VolumeName, "disk"), Event(eParamID_CurrentClip, "")));
  GetDescriptor(eParamID_VolumeName)->RemoveDependentParamID(eParamID_GenLock);

  RecordingListener fired;
  _store->AddConfigEventListener(&fired);
  EXPECT_TRUE(_store->FireParamsChangedEvents({eParamID_VolumeName, kUnknown, eParamID_IPConfig}));
  EXPECT_TRUE(_store->FireParamChangedEvent(kUnknown, 3U));
  EXPECT_TRUE(_store->FireParamChangedEvent(eParamID_SysName, std::string("not stored")));
  EXPECT_THAT(fired.GetHeard(),
              ElementsAre(Event(eParamID_VolumeName, "disk"), Event(eParamID_IPConfig, "0"),
                          Event(kUnknown, "3"), Event(eParamID_SysName, "not stored")));
}

TEST_F(ConfigManagerTest, AnnouncesChangesFromInsideACallAfterTheRunningOne) {
  ActingListener first([&] {
    _store->Set(eParamID_GenLock, 2U);
    EXPECT_EQ(2U, _store->Get(eParamID_GenLock)) << "stored at once";
    _store->Set(eParamID_SysName, std::string("nested"));
  });
  RecordingListener second;
  _store->AddConfigEventListener(&first);
  _store->AddConfigEventListener(&second);
  _store->Set(eParamID_IPConfig, 1U);
  const std::vector<Event> heard = {
      {eParamID_IPConfig, "1"},
      {eParamID_IPAddress_3, "0"},
      {eParamID_SubnetMask_3, "0"},
      {eParamID_DefaultGateway, "0"},
      {eParamID_GenLock, "2"},
      {eParamID_DetectReferenceFormat, std::to_string(_store->Get(eParamID_DetectReferenceFormat))},
      {eParamID_SysName, "nested"}};
  EXPECT_EQ(heard, first.GetHeard());
  EXPECT_EQ(heard, second.GetHeard()) << "the same order for everybody";
}

TEST_F(ConfigManagerTest, AnnouncesInTheOrderOfTheStores) {
  RecordingListener one;
  RecordingListener other;
  struct : RecordingListener {
    using RecordingListener::ParamChanged;
    void ParamChanged(eParam_t id, unsigned int value, timeval) override {
      for (int i = 0; i < 10; ++i) std::this_thread::yield();  // to whoever would store meanwhile
      EXPECT_EQ(store->Get(id), value) << "nobody stores before all have heard";
    }
    ConfigManager* store;
  } reading;
  reading.store = _store.get();
  for (ConfigEventListener* const l :
       std::initializer_list<ConfigEventListener*>{&one, &reading, &other}) {
    _store->AddConfigEventListener(l);
  }
  OnThreads(4, [&](int thread) {
    for (unsigned int i = 0; i < 250; ++i) {
      _store->Set(eParamID_IntervalTime, static_cast<unsigned int>(thread) * 1000 + i + 1);
    }
  });
  EXPECT_EQ(one.GetHeard(), other.GetHeard());
  ASSERT_EQ(1000U, one.GetHeard().size());
  EXPECT_EQ(one.GetHeard().back().second, std::to_string(_store->Get(eParamID_IntervalTime)));
}

}  // namespace
