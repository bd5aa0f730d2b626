// How presets move between a client and the device's application: the temporary file, the register
// parameters, and everything that goes wrong on the way.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <functional>
#include <string>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/values/PresetsParamVector.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"

namespace {

using qel::config::values::PresetsParamVector;

// Of this process alone.
eConfigID_t OwnRegister() { return static_cast<eConfigID_t>(1000000 + ::getpid()); }
std::string OwnPath() { return PresetsParamVector::GetPath(OwnRegister()); }

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
    CreateDescriptors();
    Messages([&] { _store.Init(); });
  }
  ~PresetsTest() override { ::unlink(OwnPath().c_str()); }

  void Give(PresetsParamVector& presets, const std::string& data) {
    ASSERT_TRUE(presets.Slurp(_folder.Write("data", data)));
  }
  // What the library says while `action` runs.
  template <typename Action>
  std::string Messages(Action action) {
    CaptureStderr();
    action();
    return GetCapturedStderr();
  }

  const Folder _folder;
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
  EXPECT_EQ(
      "PresetsParamVector::WaitForStates - called\n"
      "PresetsParamVector::WaitForStates - normal return state = 2\n",
      Messages([&] { EXPECT_TRUE(presets.Store(OwnRegister(), &_store)); }));
  EXPECT_EQ(0U, mode);
  EXPECT_NE(0, ::access(OwnPath().c_str(), F_OK));
  if (::geteuid() != 0) GTEST_SKIP() << "only root reads a file without permission bits";
  EXPECT_EQ(std::string("one\0two", 7), taken);
}

TEST_F(PresetsTest, AreLoadedFromTheFileThatTheApplicationLeaves) {
  unsigned int result = 2;
  std::string text = "contents";
  Application application([&](eParam_t, unsigned int) {
    if (!text.empty()) std::ofstream(OwnPath()) << text;
    _store.Set(eParamID_RegisterLoadResult, result);
  });
  _store.AddConfigEventListener(&application);
  PresetsParamVector presets;
  Messages([&] { EXPECT_TRUE(presets.Load(OwnRegister(), &_store)); });
  EXPECT_EQ(text, DataOf(presets));
  EXPECT_NE(0, ::access(OwnPath().c_str(), F_OK));
  const auto failure = [&] {
    return Messages([&] { EXPECT_FALSE(presets.Load(OwnRegister(), &_store)); });
  };
  text.clear();
  EXPECT_THAT(failure(), EndsWith("PresetsParamVector::Load: No such file or directory\n"));
  EXPECT_EQ("", DataOf(presets));
  for (const unsigned int state : {3U, 4U}) {
    result = state;
    EXPECT_THAT(failure(),
                EndsWith("detected an error state while waiting for preset 0\n"
                         "PresetsParamVector::Load - error/empty/timeout waiting for load\n"));
  }
}

TEST_F(PresetsTest, AreNotStoredWhenThereIsNothingToStoreOrNobodyTakesIt) {
  PresetsParamVector presets;
  const auto failure = [&](Config* config) {
    return Messages([&] { EXPECT_FALSE(presets.Store(OwnRegister(), config)); });
  };
  EXPECT_EQ("", failure(&_store));
  EXPECT_NE(0, ::access(OwnPath().c_str(), F_OK));

  Give(presets, "x");
  EXPECT_EQ("PresetsParamVector::Store - failed to get current config\n", failure(nullptr));
  EXPECT_EQ(0, ::unlink(OwnPath().c_str()));

  Application refuses([&](eParam_t, unsigned int) { _store.Set(eParamID_RegisterStoreResult, 3); });
  _store.AddConfigEventListener(&refuses);
  EXPECT_THAT(failure(&_store), EndsWith("PresetsParamVector::Store - WaitForState failed\n"));
  EXPECT_NE(0, ::access(OwnPath().c_str(), F_OK));

  // Somebody put a link in the file's place.
  const std::string victim = _folder.Write("victim", "precious");
  ASSERT_EQ(0, ::symlink(victim.c_str(), OwnPath().c_str()));
  EXPECT_THAT(failure(&_store), HasSubstr("File::write_file - open " + OwnPath() + " failed\n"));
  EXPECT_EQ("precious", _folder.Read("victim"));
}

TEST_F(PresetsTest, TakeOnlyRegularFilesOfABearableSize) {
  PresetsParamVector presets;
  const auto failure = [&](const char* name) {
    return Messages([&] { EXPECT_FALSE(presets.Slurp(_folder / name)) << name; });
  };
  Give(presets, "before");
  EXPECT_EQ("open failed: No such file or directory\nPresetsParamVector::Slurp - open " +
                _folder / "none" + " failed\n",
            failure("none"));
  ASSERT_EQ(0, ::mkfifo((_folder / "fifo").c_str(), 0600));
  ASSERT_EQ(0, ::symlink("data", (_folder / "link").c_str()));
  failure("fifo");
  failure("link");
  EXPECT_EQ("before", DataOf(presets));

  Give(presets, "");
  EXPECT_EQ("", DataOf(presets));
  Give(presets, "again");
  ASSERT_EQ(0, ::truncate((_folder / "data").c_str(), 64L * 1024 * 1024 + 1));
  EXPECT_EQ("PresetsParamVector::Slurp - new failed\n", failure("data"));
  EXPECT_EQ("", DataOf(presets));
}

TEST_F(PresetsTest, WaitAsLongAsTheyAreTold) {
  PresetsParamVector presets;
  std::vector<unsigned int> ok = {7};
  std::vector<unsigned int> bad = {8};
  const auto wait = [&](long milliseconds, bool found) {
    return Messages([&] {
      EXPECT_EQ(found,
                presets.WaitForStates(&_store, eParamID_RegisterLoadResult, ok, bad, milliseconds));
    });
  };
  EXPECT_EQ(
      "PresetsParamVector::WaitForStates - called\n"
      "PresetsParamVector::WaitForStates - detected an error while waiting for preset 0\n",
      wait(1, false));
  ok = {_store.Get(eParamID_RegisterLoadResult)};
  wait(LONG_MAX, true);
  wait(LONG_MAX / 1000, true);
  wait(LONG_MIN, false);
}
