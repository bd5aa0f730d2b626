// Presets against the real daemon, as a client of the library sees them.
#include <sys/file.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "libconfig/libconfig.h"
#include "tests/testing/Daemon.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"
#include "tests/testing/RecordingListener.h"

namespace {

using qel::config::values::PresetsParamVector;

enum Result : unsigned int { kBusy = 1, kComplete = 2, kFailed = 3, kEmpty = 4 };

class PresetRegistersTest : public ::testing::Test {
 protected:
  PresetRegistersTest() : _daemon({"--state", _folder.GetPath()}) {
    CreateDescriptors();
    _config = ConfigFactoryImpl::GetInstance()->Connect(_daemon.GetURI());
  }
  ~PresetRegistersTest() override {
    if (_config != nullptr) ConfigFactoryImpl::GetInstance()->Disconnect(_config);
  }
  void SetUp() override { ASSERT_NE(nullptr, _config); }

  unsigned int Command(eParam_t command, eParam_t result, unsigned int number) {
    _config->Set(command, number);
    unsigned int state = kBusy;
    Eventually([&] { return (state = _config->Get(result)) != kBusy; });
    return state;
  }
  unsigned int Save(unsigned int number) {
    return Command(eParamID_RegisterSave, eParamID_RegisterSaveResult, number);
  }
  unsigned int Recall(unsigned int number) {
    return Command(eParamID_RegisterRecall, eParamID_RegisterRecallResult, number);
  }

  const Folder _folder;
  Daemon _daemon;
  RecordingListener _listener;
  Config* _config = nullptr;
};

}  // namespace

TEST_F(PresetRegistersTest, SaveAndRecallWhatPresetsHold) {
  EXPECT_EQ(kEmpty, Recall(3));
  ASSERT_EQ(1, _config->Set(eParamID_GenLock, 1U));
  ASSERT_EQ(1, _config->Set(eParamID_IPConfig, 1U));
  EXPECT_EQ(kComplete, Save(3));
  _config->Set(eParamID_GenLock, 0U);
  _config->Set(eParamID_IPConfig, 2U);
  EXPECT_EQ(kComplete, Save(20));
  _config->AddConfigEventListener(&_listener);
  EXPECT_EQ(kComplete, Recall(3));
  EXPECT_EQ(1U, _config->Get(eParamID_GenLock));
  EXPECT_TRUE(_listener.WaitFor(eParamID_GenLock, "1"));
  // Where a unit is in the network is no matter of presets.
  EXPECT_EQ(2U, _config->Get(eParamID_IPConfig));
  for (const unsigned int number : {0U, 21U, 0xFFFFFFFFU}) {
    EXPECT_EQ(kFailed, Save(number));
    EXPECT_EQ(kFailed, Recall(number));
  }
}

TEST_F(PresetRegistersTest, RefuseFilesThatAreNoPresets) {
  const PresetFiles files;
  const std::string path = PresetsParamVector::GetPath(static_cast<eConfigID_t>(19));
  const auto store = [&] {
    return Command(eParamID_RegisterStore, eParamID_RegisterStoreResult, 19);
  };
  ::unlink(path.c_str());
  EXPECT_EQ(kFailed, store());
  std::ofstream(path) << "not a preset";
  EXPECT_EQ(kFailed, store());
  ::unlink(path.c_str());
  ASSERT_EQ(0, ::symlink("/etc/hostname", path.c_str()));
  EXPECT_EQ(kFailed, store());
  // What is handed out takes the place of a file of the daemon's own only.
  const auto load = [&] { return Command(eParamID_RegisterLoad, eParamID_RegisterLoadResult, 19); };
  ASSERT_EQ(kComplete, Save(19));
  EXPECT_EQ(kFailed, load());
  ::unlink(path.c_str());
  std::ofstream(path) << "left over";
  EXPECT_EQ(kComplete, load());
  EXPECT_EQ(kComplete, load());
  ::unlink(path.c_str());
}
