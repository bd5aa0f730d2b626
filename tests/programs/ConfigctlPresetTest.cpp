// Presets as a technician saves, recalls and moves them: against a device that does what the test
// says, and against the daemon.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/programs/Programs.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Wire.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing_support::Daemon;
using testing_support::Folder;
using testing_support::Outcome;
using testing_support::PresetFiles;
using testing_support::Process;
using testing_support::RunConfigctl;
using testing_support::StartConfigctl;
using testing_support::Wire;
using testing_support::WireListener;
using testing_support::Words;

namespace {

constexpr uint32_t kRecall = 0x5b010000;
constexpr uint32_t kRecallResult = 0x5d020000;
constexpr uint32_t kSave = 0x5c010000;
constexpr uint32_t kSaveResult = 0x5d030000;
constexpr uint32_t kStore = 0x5c030000;
constexpr uint32_t kStoreResult = 0x5d040000;
constexpr uint32_t kLoad = 0x5c040000;
constexpr uint32_t kLoadResult = 0x5d050000;

// Serves one connection, and notes what is set.
class FakeDevice {
 public:
  // What becomes of a result when the command before it is given; 0 closes the connection.
  using Reaction = std::function<uint32_t(uint32_t preset)>;

  FakeDevice(uint32_t command, Reaction reaction)
      : _command(command), _reaction(std::move(reaction)), _thread([this] { Serve(); }) {}
  ~FakeDevice() { End(); }

  Outcome Run(const Process::Words& arguments) {
    Outcome outcome = RunConfigctl(_listener.GetURI(), arguments);
    End();
    return outcome;
  }

  const std::string& GetURI() const { return _uri; }
  const std::vector<std::pair<uint32_t, uint32_t>>& GetSets() const { return _sets; }
  void IgnoreResults() { _ignoresResults = true; }

 private:
  void End() {
    if (!_thread.joinable()) return;
    ::close(Wire::Dial(_listener.GetPort()));  // in case nobody came
    _thread.join();
  }

  void Serve() {
    Wire peer(_listener.Accept());
    peer.Receive(24);
    peer.Send(Words(std::array<uint32_t, 7>{32, 0, 0, 0, 0, 4096, 0}));
    for (;;) {
      const auto type = peer.Record(1);
      if (type.empty() || (type[0] != 80 && type[0] != 81)) return;
      const auto request = peer.Record(9);
      if (request.empty()) return;
      const uint32_t param = request[5];
      if (type[0] == 80) {
        peer.Send(Words(std::array<uint32_t, 11>{96, request[0], request[1], 0, 0, 4096, param, 0,
                                                 _values[param], 0, 0}));
      } else {
        _sets.emplace_back(param, request[6]);
        if (param != _command && !_ignoresResults) _values[param] = request[6];
        if (param == _command && !React(request[6])) return;
      }
    }
  }

  bool React(uint32_t preset) {
    const uint32_t result = _reaction(preset);
    if (!_sets.empty()) _values[_sets.front().first] = result;
    return result != 0;
  }

  WireListener _listener;
  const std::string _uri = _listener.GetURI();
  const uint32_t _command;
  const Reaction _reaction;
  std::map<uint32_t, uint32_t> _values;
  std::vector<std::pair<uint32_t, uint32_t>> _sets;
  std::atomic<bool> _ignoresResults{false};
  std::thread _thread;
};

FakeDevice::Reaction Answering(uint32_t result) {
  return [result](uint32_t) { return result; };
}

Outcome Fails(const std::string& message) { return {1, "", "configctl: " + message + "\n"}; }

}  // namespace

TEST(ConfigctlPreset, AsksTheDeviceAndWaitsForTheResult) {
  FakeDevice saving(kSave, Answering(2));
  EXPECT_EQ((Outcome{0, "preset 3 saved\n", ""}), saving.Run({"preset", "save", "3"}));
  EXPECT_THAT(saving.GetSets(), ElementsAre(Pair(kSaveResult, 1U), Pair(kSave, 3U)));

  FakeDevice recalling(kRecall, Answering(2));
  const Outcome recalled = recalling.Run({"preset", "recall", "20", "--json"});
  EXPECT_EQ(json({{"ok", true},
                  {"command", "preset"},
                  {"result", {{"preset", 20}, {"action", "recall"}}}}),
            json::parse(recalled.out));
  EXPECT_THAT(recalling.GetSets(), ElementsAre(Pair(kRecallResult, 1U), Pair(kRecall, 20U)));
}

TEST(ConfigctlPreset, SaysHowItFailed) {
  EXPECT_EQ(Fails("preset 3 was not saved: the device says Store Failed; see what it logged, and "
                  "try again"),
            FakeDevice(kSave, Answering(3)).Run({"preset", "save", "3"}));
  EXPECT_EQ(Fails("preset 3 is empty; save it first, or choose another with configctl preset list"),
            FakeDevice(kRecall, Answering(4)).Run({"preset", "recall", "3"}));
  EXPECT_EQ(Fails("preset 3 was not loaded: the device says Export Failed; see what it logged, and "
                  "try again; it moves through /var/tmp/preset_3.bin, which the device has to "
                  "reach"),
            FakeDevice(kLoad, Answering(3)).Run({"preset", "load", "3", "/nowhere/a.bin"}));
  FakeDevice vanishing(kSave, Answering(0));
  EXPECT_EQ(3, vanishing.Run({"preset", "save", "3"}).status);
  // An older result is none.
  FakeDevice stubborn(kRecall, Answering(2));
  stubborn.IgnoreResults();
  EXPECT_EQ(Fails("RegisterRecallResult is in use by somebody else, or cannot be set; try again in "
                  "a moment"),
            stubborn.Run({"preset", "recall", "3"}));
  EXPECT_THAT(stubborn.GetSets(), ElementsAre(Pair(kRecallResult, 1U)));
}

TEST(ConfigctlPreset, GivesUpAfterHalfAMinute) {
  FakeDevice device(kSave, Answering(1));
  EXPECT_EQ(
      Fails("preset 3 was not saved: the device gave no result within 30 seconds; see whether "
            "it keeps presets, and try again"),
      device.Run({"preset", "save", "3"}));
}

TEST(ConfigctlPreset, StoresWhatAFileHoldsAndLoadsItBack) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can read what is stored";
  const PresetFiles files;
  const Folder folder;
  const std::string contents("some\0thing", 10);
  const std::string file = folder.Write("a.bin", contents);
  const std::string loaded = folder.Write("b.bin", "");
  const std::string passing = "/var/tmp/preset_20.bin";
  std::string taken;
  FakeDevice storing(kStore, [&](uint32_t) {
    std::ifstream in(passing, std::ios::binary);
    taken.assign(std::istreambuf_iterator<char>(in), {});
    return 2;
  });
  EXPECT_EQ((Outcome{0, "preset 20 stored from \"" + file + "\", 10 bytes\n", ""}),
            storing.Run({"preset", "store", "20", file}));
  EXPECT_EQ(contents, taken);
  EXPECT_NE(0, ::access(passing.c_str(), F_OK));
  EXPECT_THAT(storing.GetSets(), ElementsAre(Pair(kStoreResult, 1U), Pair(kStore, 20U)));

  FakeDevice loading(kLoad, [&](uint32_t) {
    std::ofstream(passing, std::ios::binary) << taken;
    return 2;
  });
  EXPECT_EQ((Outcome{0, "preset 20 loaded into \"" + loaded + "\", 10 bytes\n", ""}),
            loading.Run({"preset", "load", "20", loaded}));
  EXPECT_EQ(contents, folder.Read("b.bin"));
  EXPECT_NE(0, ::access(passing.c_str(), F_OK));
  EXPECT_THAT(loading.GetSets(), ElementsAre(Pair(kLoadResult, 1U), Pair(kLoad, 20U)));

  // Done, says the device, and there is no file.
  EXPECT_THAT(FakeDevice(kLoad, Answering(2)).Run({"preset", "load", "20", loaded}).err,
              HasSubstr(passing + " cannot be read (No such file or directory); run this on the "
                                  "device"));
  EXPECT_EQ(contents, folder.Read("b.bin"));
  // Nobody is left to take it, and it does not stay.
  EXPECT_EQ(3, FakeDevice(kStore, Answering(0)).Run({"preset", "store", "20", file}).status);
  EXPECT_NE(0, ::access(passing.c_str(), F_OK));
}

TEST(ConfigctlPreset, BringsBackWhatTheDaemonKept) {
  const Folder folder;
  Daemon daemon({}, {"STATE_DIRECTORY=" + folder / "state"});
  const auto run = [&](const Process::Words& words) {
    return RunConfigctl(daemon.GetURI(), words);
  };
  EXPECT_THAT(run({"preset", "recall", "3"}).err, HasSubstr("preset 3 is empty; save it first"));
  run({"set", "IntervalFrames", "12"});
  EXPECT_EQ((Outcome{0, "preset 3 saved\n", ""}), run({"preset", "save", "3"}));
  run({"reset", "--all"});
  run({"set", "TimecodeBurn", "Top"});
  const auto watch = StartConfigctl(daemon.GetURI(), {"watch", "IntervalFrames", "TimecodeBurn"});
  watch->WaitForLine("TimecodeBurn: Top");
  EXPECT_EQ((Outcome{0, "preset 3 recalled\n", ""}), run({"preset", "recall", "3"}));
  watch->WaitForLine("TimecodeBurn: Top (1) -> Off (0)");
  watch->WaitForLine("IntervalFrames: 1 frames -> 12 frames");

  if (::geteuid() != 0) GTEST_SKIP() << "only root can read what is stored";
  const PresetFiles files;
  const std::string file = folder / "3.bin";
  EXPECT_EQ(0, run({"preset", "load", "3", file}).status);
  EXPECT_EQ(0, run({"preset", "store", "17", file}).status);
  run({"set", "IntervalFrames", "5"});
  EXPECT_EQ(0, run({"preset", "recall", "17"}).status);
  EXPECT_EQ("12\n", run({"get", "IntervalFrames"}).out);
  EXPECT_THAT(
      run({"preset", "store", "17", folder.Write("no.bin", "no preset")}).err,
      HasSubstr("preset 17 was not stored: the device says Export Failed; see what it logged"));
  EXPECT_EQ(1, run({"preset", "load", "16", file}).status);
}

TEST(ConfigctlPreset, SaysBeforehandWhatCannotBe) {
  const Folder folder;
  const std::string empty = folder.Write("empty.bin", "");
  const std::string there = "tcp://192.0.2.1:43110";  // belongs to nobody
  const auto run = [&](const Process::Words& arguments) { return RunConfigctl(there, arguments); };
  EXPECT_EQ(Fails("preset load moves the preset through /var/tmp of the device, and " + there +
                  " is another machine; run it there"),
            run({"preset", "load", "3", folder / "a.bin"}));
  const std::string nowhere = "tcp://127.0.0.1:1";
  EXPECT_EQ(Fails("\"" + empty + "\" is empty; name a file that preset load has written"),
            RunConfigctl(nowhere, {"preset", "store", "3", empty}));
  EXPECT_EQ(Fails("cannot read \"/nowhere\": No such file or directory; fix this, or name "
                  "another file"),
            RunConfigctl(nowhere, {"preset", "store", "3", "/nowhere"}));
  EXPECT_EQ(2, run({"preset", "save", "21"}).status);
  EXPECT_EQ(2, run({"preset", "save", "0"}).status);
  EXPECT_EQ(2, run({"preset", "forget", "3"}).status);
  EXPECT_EQ((Outcome{2, "",
                     "configctl: write it as configctl preset store N FILE; see configctl "
                     "preset --help\n"}),
            run({"preset", "store", "3"}));
  EXPECT_EQ((Outcome{2, "",
                     "configctl: write it as configctl preset list; see configctl preset "
                     "--help\n"}),
            run({"preset", "list", "3"}));
}

TEST(ConfigctlPreset, ListsNumbersAndNames) {
  Daemon daemon;
  EXPECT_EQ(0, RunConfigctl(daemon.GetURI(), {"set", "PresetName_3", "Edit 7"}).status);
  const Outcome listed = RunConfigctl(daemon.GetURI(), {"preset", "list"});
  EXPECT_EQ(0, listed.status);
  EXPECT_THAT(listed.out, testing::StartsWith("1   Preset 1\n2   Preset 2\n3   Edit 7\n"));
  EXPECT_THAT(listed.out, testing::EndsWith("\n20  Preset 20\n"));
  const json list =
      json::parse(RunConfigctl(daemon.GetURI(), {"preset", "list", "--json"}).out).at("result");
  EXPECT_EQ(20U, list.size());
  EXPECT_EQ(json({{"preset", 3}, {"name", "Edit 7"}}), list.at(2));
}

TEST(ConfigctlPreset, ShowsOnATerminalThatItWaits) {
  if (!testing_support::CanUseShell()) GTEST_SKIP() << "no shell here can start configctl";
  if (::access("/usr/bin/script", X_OK) != 0) GTEST_SKIP() << "there is no program script";
  FakeDevice device(kSave, Answering(2));
  Process terminal({"/usr/bin/script", "-qec",
                    std::string(CONFIGCTL_PATH) + " --uri " + device.GetURI() + " preset save 3",
                    "/dev/null"});
  EXPECT_EQ(0, terminal.Wait());
  EXPECT_THAT(terminal.GetOutput(),
              testing::MatchesRegex("saving preset 3 \\.\\.\\. 0 s.*\\[Kpreset 3 saved\r?\n"));
}
