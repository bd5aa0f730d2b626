// What a store gets back of what was saved, and what becomes of that which it cannot take.

#include <string>

#include "configd/state/StoredConfig.h"
#include "tests/configd/FailingCalls.h"
#include "tests/configd/HeldFolder.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"

namespace {

constexpr auto kUnknown = static_cast<eParam_t>(0x71090000);

class StoredConfigTest : public ::testing::Test {
 protected:
  StoredConfigTest() { CreateDescriptors(); }

  Banks OwnBanks() { return _held.state.SettingsOf(eConfigID_Default); }
  unsigned int Odometer() {
    const auto sector = OwnBanks().Load();
    return sector ? sector->odometer : 0;
  }
  // The saved number of the parameter, or "none".
  std::string Saved(eParam_t id) {
    const auto sector = OwnBanks().Load();
    for (const auto& value : sector->values) {
      auto* const number = dynamic_cast<IntegerValue*>(value.get());
      if (value->GetParamID() != id || number == nullptr) continue;
      unsigned int saved = 0;
      number->Get(saved);
      return std::to_string(saved);
    }
    return "none";
  }

  const Folder _folder;
  const HeldFolder _held{_folder.GetPath()};
};

// A store as the factory would have made it.
struct Store : ConfigManager {
  Store() : ConfigManager(eConfigID_Default) { Init(); }
};

}  // namespace

TEST_F(StoredConfigTest, WritesWhatChangedAndNothingElse) {
  Store store;
  StoredConfig stored(store, OwnBanks());
  std::string why;
  ASSERT_TRUE(stored.Restore(why)) << why;
  EXPECT_TRUE(stored.Save(why));
  EXPECT_EQ(0U, Odometer());
  // Volatile ones and the device's own state are none that are saved.
  EXPECT_FALSE(stored.Note(eParamID_RegisterSave));
  EXPECT_FALSE(stored.Note(eParamID_MACAddress));
  EXPECT_FALSE(stored.Note(kUnknown));

  store.Set(eParamID_IPConfig, 1U);
  store.Set(eParamID_SysName, std::string("Edit 7"));
  EXPECT_TRUE(stored.Note(eParamID_IPConfig));
  EXPECT_TRUE(stored.Save(why));
  EXPECT_TRUE(stored.Note(eParamID_IPConfig));
  EXPECT_TRUE(stored.Save(why));
  EXPECT_EQ(1U, Odometer());
}

// The file may hold the new value although the last call failed.
TEST_F(StoredConfigTest, WritesTheOldValueAnewAfterAFailure) {
  for (int call = 0; call < 10; ++call) {
    Store store;
    StoredConfig stored(store, OwnBanks());
    std::string why;
    ASSERT_TRUE(stored.Restore(why)) << why;
    store.Set(eParamID_IPConfig, 0U);
    ASSERT_TRUE(stored.Save(why)) << why;
    store.Set(eParamID_IPConfig, 1U);
    testing_support::FailCall(call, testing_support::Failure::kError);
    EXPECT_EQ(call < 7, !stored.Save(why)) << call;
    testing_support::FailCall(-1, testing_support::Failure::kError);
    store.Set(eParamID_IPConfig, 0U);
    EXPECT_TRUE(stored.Save(why)) << why;
    EXPECT_EQ("0", Saved(eParamID_IPConfig)) << call;
  }
}

TEST_F(StoredConfigTest, KeepsInTheFileWhatTheCatalogueDoesNotTake) {
  const std::pair<eParam_t, unsigned int> numbers[] = {
      {kUnknown, 5},
      {eParamID_IPConfig, 77},         // no such choice
      {eParamID_IntervalFrames, 500},  // above the most
      {eParamID_RegisterSave, 4},      // a command
      {eParamID_SysName, 1},           // a text
      {eParamID_GenLock, 1}};
  Sector sector;
  for (const auto& [id, number] : numbers) {
    sector.values.emplace_back(IntegerValue::Create(id, eParamType_Enum, number));
  }
  std::string why;
  ASSERT_TRUE(OwnBanks().Save(EncodeSector(std::move(sector)), why)) << why;
  Store store;
  StoredConfig stored(store, OwnBanks());
  ::testing::internal::CaptureStdout();
  ASSERT_TRUE(stored.Restore(why)) << why;
  EXPECT_EQ(1U, store.Get(eParamID_GenLock));
  EXPECT_EQ(0U, store.Get(eParamID_IPConfig));
  EXPECT_EQ(0U, store.Get(eParamID_RegisterSave));
  store.Set(eParamID_GenLock, 0U);
  stored.Note(eParamID_GenLock);
  ASSERT_TRUE(stored.Save(why));
  EXPECT_EQ("5", Saved(kUnknown));
  EXPECT_EQ("77", Saved(eParamID_IPConfig));
  EXPECT_EQ("500", Saved(eParamID_IntervalFrames));
  EXPECT_EQ("4", Saved(eParamID_RegisterSave));
  // Until somebody sets it, to whatever it is now.
  stored.Note(eParamID_IPConfig);
  ASSERT_TRUE(stored.Save(why));
  EXPECT_EQ("0", Saved(eParamID_IPConfig));
  EXPECT_EQ("5", Saved(kUnknown));
  EXPECT_EQ(3U, Odometer());
  ::testing::internal::GetCapturedStdout();
}
