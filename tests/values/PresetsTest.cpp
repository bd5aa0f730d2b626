// How presets move between a client and the device's application: the temporary file, the register
// parameters, and everything that goes wrong on the way.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/values/PresetsParamVector.h"

namespace {

using qel::config::values::PresetsParamVector;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

// Of this process alone.
eConfigID_t OwnRegister() { return static_cast<eConfigID_t>(1000000 + ::getpid()); }
std::string OwnPath() { return PresetsParamVector::GetPath(OwnRegister()); }

void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string DataOf(PresetsParamVector& presets) {
  unsigned int length = 1;
  const char* const data = presets.GetData(length);
  EXPECT_EQ(length == 0, data == nullptr);
  return std::string(data == nullptr ? "" : data, length);
}

// Does what the device's application would when a register parameter is written.
class Application : public ConfigEventListener {
 public:
  explicit Application(std::function<void(eParam_t, unsigned int)> act) : _act(std::move(act)) {}

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval) override {
    if (param == eParamID_RegisterStore || param == eParamID_RegisterLoad) _act(param, value);
  }
  void ParamChanged(eParam_t, std::string, timeval) override {}

 private:
  const std::function<void(eParam_t, unsigned int)> _act;
};

class PresetsTest : public ::testing::Test {
 protected:
  PresetsTest() : _store(eConfigID_Default) {
    ::unlink(OwnPath().c_str());
    CaptureStderr();
    CreateDescriptors();
    _store.Init();
    GetCapturedStderr();
  }
  ~PresetsTest() override { ::unlink(OwnPath().c_str()); }

  void Give(PresetsParamVector& presets, const std::string& data) {
    WriteText(OwnPath(), data);
    ASSERT_TRUE(presets.Slurp(OwnPath()));
    ::unlink(OwnPath().c_str());
  }

  ConfigManager _store;
};

}  // namespace

TEST_F(PresetsTest, AreStoredThroughAFileThatOnlyRootReads) {
  std::string taken;
  mode_t mode = 07777;
  Application application([&](eParam_t param, unsigned int value) {
    EXPECT_EQ(eParamID_RegisterStore, param);
    EXPECT_EQ(static_cast<unsigned int>(OwnRegister()), value);
    EXPECT_EQ(1U, _store.Get(eParamID_RegisterStoreResult));
    struct stat status = {};
    ::stat(OwnPath().c_str(), &status);
    mode = status.st_mode & 07777;
    if (::geteuid() == 0) {
      std::ifstream file(OwnPath(), std::ios::binary);
      taken.assign(std::istreambuf_iterator<char>(file), {});
    }
    _store.Set(eParamID_RegisterStoreResult, 2);
  });
  _store.AddConfigEventListener(&application);
  PresetsParamVector presets;
  Give(presets, std::string("one\0two", 7));
  CaptureStderr();
  EXPECT_TRUE(presets.Store(OwnRegister(), &_store));
  EXPECT_EQ(
      "PresetsParamVector::WaitForStates - called\n"
      "PresetsParamVector::WaitForStates - normal return state = 2\n",
      GetCapturedStderr());
  EXPECT_EQ(0U, mode);
  EXPECT_NE(0, ::access(OwnPath().c_str(), F_OK));
  if (::geteuid() != 0) GTEST_SKIP() << "only root reads a file without permission bits";
  EXPECT_EQ(std::string("one\0two", 7), taken);
}

TEST_F(PresetsTest, AreLoadedFromTheFileThatTheApplicationLeaves) {
  unsigned int result = 2;
  std::string text = "contents";
  Application application([&](eParam_t, unsigned int) {
    if (!text.empty()) WriteText(OwnPath(), text);
    _store.Set(eParamID_RegisterLoadResult, result);
  });
  _store.AddConfigEventListener(&application);
  PresetsParamVector presets;
  CaptureStderr();
  EXPECT_TRUE(presets.Load(OwnRegister(), &_store));
  GetCapturedStderr();
  EXPECT_EQ(text, DataOf(presets));
  EXPECT_NE(0, ::access(OwnPath().c_str(), F_OK));
  // No file where there should be one.
  text.clear();
  CaptureStderr();
  EXPECT_FALSE(presets.Load(OwnRegister(), &_store));
  EXPECT_THAT(GetCapturedStderr(),
              EndsWith("PresetsParamVector::Load: No such file or directory\n"));
  EXPECT_EQ("", DataOf(presets));
  for (const unsigned int state : {3U, 4U}) {
    result = state;
    CaptureStderr();
    EXPECT_FALSE(presets.Load(OwnRegister(), &_store));
    EXPECT_THAT(GetCapturedStderr(),
                EndsWith("detected an error state while waiting for preset 0\n"
                         "PresetsParamVector::Load - error/empty/timeout waiting for load\n"));
  }
}

TEST_F(PresetsTest, AreNotStoredWhenThereIsNothingToStoreOrNobodyTakesIt) {
  PresetsParamVector presets;
  CaptureStderr();
  EXPECT_FALSE(presets.Store(OwnRegister(), &_store));
  EXPECT_EQ("", GetCapturedStderr());
  EXPECT_NE(0, ::access(OwnPath().c_str(), F_OK));

  Give(presets, "x");
  CaptureStderr();
  EXPECT_FALSE(presets.Store(OwnRegister(), nullptr));
  EXPECT_EQ("PresetsParamVector::Store - failed to get current config\n", GetCapturedStderr());
  EXPECT_EQ(0, ::unlink(OwnPath().c_str()));

  Application refuses([&](eParam_t, unsigned int) { _store.Set(eParamID_RegisterStoreResult, 3); });
  _store.AddConfigEventListener(&refuses);
  CaptureStderr();
  EXPECT_FALSE(presets.Store(OwnRegister(), &_store));
  EXPECT_THAT(GetCapturedStderr(), EndsWith("PresetsParamVector::Store - WaitForState failed\n"));
  EXPECT_NE(0, ::access(OwnPath().c_str(), F_OK));

  // Somebody put a link or a folder in the file's place.
  const std::string victim = OwnPath() + ".victim";
  WriteText(victim, "precious");
  ASSERT_EQ(0, ::symlink(victim.c_str(), OwnPath().c_str()));
  CaptureStderr();
  EXPECT_FALSE(presets.Store(OwnRegister(), &_store));
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("File::write_file - open " + OwnPath() + " failed\n"));
  ::unlink(OwnPath().c_str());
  PresetsParamVector reader;
  EXPECT_TRUE(reader.Slurp(victim));
  EXPECT_EQ("precious", DataOf(reader));
  ::unlink(victim.c_str());
}

TEST_F(PresetsTest, TakeOnlyRegularFilesOfABearableSize) {
  PresetsParamVector presets;
  Give(presets, "before");
  CaptureStderr();
  EXPECT_FALSE(presets.Slurp(OwnPath()));
  EXPECT_EQ("open failed: No such file or directory\nPresetsParamVector::Slurp - open " +
                OwnPath() + " failed\n",
            GetCapturedStderr());
  EXPECT_EQ("before", DataOf(presets));
  CaptureStderr();
  ASSERT_EQ(0, ::mkfifo(OwnPath().c_str(), 0600));
  EXPECT_FALSE(presets.Slurp(OwnPath()));
  ::unlink(OwnPath().c_str());
  ASSERT_EQ(0, ::symlink("/etc/hostname", OwnPath().c_str()));
  EXPECT_FALSE(presets.Slurp(OwnPath()));
  ::unlink(OwnPath().c_str());
  GetCapturedStderr();

  WriteText(OwnPath(), "");
  EXPECT_TRUE(presets.Slurp(OwnPath()));
  EXPECT_EQ("", DataOf(presets));

  ASSERT_EQ(0, ::truncate(OwnPath().c_str(), 64L * 1024 * 1024 + 1));
  CaptureStderr();
  EXPECT_FALSE(presets.Slurp(OwnPath()));
  EXPECT_EQ("PresetsParamVector::Slurp - new failed\n", GetCapturedStderr());
  EXPECT_EQ("", DataOf(presets));
}

TEST_F(PresetsTest, WaitAsLongAsTheyAreTold) {
  PresetsParamVector presets;
  std::vector<unsigned int> ok = {7};
  std::vector<unsigned int> bad = {8};
  CaptureStderr();
  EXPECT_FALSE(presets.WaitForStates(&_store, eParamID_RegisterLoadResult, ok, bad, 1));
  EXPECT_EQ(
      "PresetsParamVector::WaitForStates - called\n"
      "PresetsParamVector::WaitForStates - detected an error while waiting for preset 0\n",
      GetCapturedStderr());
  ok = {_store.Get(eParamID_RegisterLoadResult)};
  CaptureStderr();
  for (const long forever : {LONG_MAX, LONG_MAX / 1000}) {
    EXPECT_TRUE(presets.WaitForStates(&_store, eParamID_RegisterLoadResult, ok, bad, forever));
  }
  EXPECT_FALSE(presets.WaitForStates(&_store, eParamID_RegisterLoadResult, ok, bad, LONG_MIN));
  GetCapturedStderr();
}
