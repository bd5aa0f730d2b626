// Presets as a technician saves, recalls and moves them: against a device that does what the test
// says, and against the daemon.
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/programs/Programs.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"
#include "tests/testing/PlayedServer.h"

using nlohmann::json;

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
      : _command(command), _reaction(std::move(reaction)) {}

  Outcome Run(const Process::Words& arguments) { return RunConfigctl(GetURI(), arguments); }
  std::string GetURI() const { return _server.GetURI(); }
  const std::vector<std::pair<uint32_t, uint32_t>>& GetSets() {
    _server.WaitUntilPlayed();
    return _sets;
  }
  void IgnoreResults() { _ignoresResults = true; }

 private:
  void Serve(PlayedPeer& peer) {
    for (auto type = peer.Record(1); !type.empty() && (type[0] | 1) == 81; type = peer.Record(1)) {
      WordList request = peer.Record(9);
      if (request.empty()) return;
      request.insert(request.begin(), type[0]);
      const uint32_t param = request[6];
      if (type[0] == 80) {
        peer.Answer(request, _values[param]);
        continue;
      }
      _sets.emplace_back(param, request[7]);
      if (param != _command) {
        if (!_ignoresResults) _values[param] = request[7];
      } else if ((_values[_sets.front().first] = _reaction(request[7])) == 0) {
        return;
      }
    }
  }

  const uint32_t _command;
  const Reaction _reaction;
  std::map<uint32_t, uint32_t> _values;
  std::vector<std::pair<uint32_t, uint32_t>> _sets;
  std::atomic<bool> _ignoresResults{false};
  PlayedServer _server{[this](PlayedPeer& peer) { Serve(peer); }};
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
  EXPECT_THAT(storing.GetSets(), ElementsAre(Pair(kStoreResult, 1U), Pair(kStore, 20U)));
  EXPECT_EQ(contents, taken);
  EXPECT_NE(0, ::access(passing.c_str(), F_OK));

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
}

TEST(ConfigctlPreset, SaysBeforehandWhatCannotBe) {
  const Folder folder;
  const std::string empty = folder.Write("empty.bin", "");
  EXPECT_EQ(Fails("\"" + empty + "\" is empty; name a file that preset load has written"),
            RunConfigctl("tcp://127.0.0.1:1", {"preset", "store", "3", empty}));
  // The address belongs to nobody.
  ExpectSession("tcp://192.0.2.1:43110", R"(1$ preset load 3 a.bin
configctl: preset load moves the preset through /var/tmp of the device, and URI is another machine; run it there
1$ preset store 3 /nowhere --uri tcp://127.0.0.1:1
configctl: cannot read "/nowhere": No such file or directory; fix this, or name another file
2$ preset store 3
configctl: write it as configctl preset store N FILE; see configctl preset --help
2$ preset list 3
configctl: write it as configctl preset list; see configctl preset --help
)");
  for (const char* const number : {"0", "21"}) {
    EXPECT_EQ(2, RunConfigctl("tcp://127.0.0.1:1", {"preset", "save", number}).status);
  }
}

TEST(ConfigctlPreset, ListsNumbersAndNames) {
  Daemon daemon;
  EXPECT_EQ(0, RunConfigctl(daemon.GetURI(), {"set", "PresetName_3", "Edit 7"}).status);
  const std::string listed = RunConfigctl(daemon.GetURI(), {"preset", "list"}).out;
  EXPECT_THAT(listed, StartsWith("1   Preset 1\n2   Preset 2\n3   Edit 7\n"));
  EXPECT_THAT(listed, EndsWith("\n20  Preset 20\n"));
  EXPECT_THAT(RunConfigctl(daemon.GetURI(), {"preset", "list", "--json"}).out,
              HasSubstr("{\"preset\":3,\"name\":\"Edit 7\"}"));
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
              MatchesRegex("saving preset 3 \\.\\.\\. 0 s.*\\[Kpreset 3 saved\r?\n"));
}
