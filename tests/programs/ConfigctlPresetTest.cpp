// Presets as a technician saves, recalls and moves them: against a device that does what the test
// says, and against the daemon.
#include <unistd.h>

#include <fstream>

#include "tests/programs/Programs.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"
#include "tests/testing/PlayedServer.h"

namespace {

constexpr char kNowhere[] = "tcp://127.0.0.1:1";

// Takes a result register's first value, and leaves `result` there once the command is given; 0
// ends the connection. A busy one keeps the result of somebody else.
PlayedServer::Play Giving(uint32_t result, bool busy = false) {
  return [result, busy](PlayedPeer& peer) {
    uint32_t state = busy ? 2 : 0;
    for (auto request = peer.Request(); !request.empty(); request = peer.Request()) {
      if (request[0] == 80) {
        peer.Answer(request, state);
      } else if (!busy && (state = state == 0 ? request[7] : result) == 0) {
        return;
      }
    }
  };
}

Outcome RunWith(PlayedServer::Play play, const Process::Words& words) {
  const PlayedServer device(std::move(play));
  return RunConfigctl(device.GetURI(), words);
}

Outcome Fails(const std::string& message) { return {1, "", "configctl: " + message + "\n"}; }

}  // namespace

TEST(ConfigctlPreset, SavesRecallsAndListsThem) {
  const Folder folder;
  const Daemon daemon({}, {"STATE_DIRECTORY=" + folder.GetPath()});
  ExpectSession(daemon.GetURI(), R"(1$ preset recall 3
configctl: preset 3 is empty; save it first, or choose another with configctl preset list
$ set IntervalFrames 12
IntervalFrames: stored 12
$ set PresetName_3 'Edit 7'
PresetName_3: stored Edit 7
$ preset save 3
preset 3 saved
$ set IntervalFrames 1
IntervalFrames: stored 1
$ preset recall 3
preset 3 recalled
$ get IntervalFrames
12
$ preset save 20 --json
{"ok":true,"command":"preset","result":{"preset":20,"action":"save"}}
)");
  const std::string listed = RunConfigctl(daemon.GetURI(), {"preset", "list"}).out;
  EXPECT_THAT(listed, StartsWith("1   Preset 1\n2   Preset 2\n3   Edit 7\n"));
  EXPECT_THAT(listed, EndsWith("\n20  Preset 20\n"));
  EXPECT_THAT(RunConfigctl(daemon.GetURI(), {"preset", "list", "--json"}).out,
              HasSubstr("{\"preset\":3,\"name\":\"Edit 7\"}"));
}

TEST(ConfigctlPreset, MovesThemThroughFiles) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can read what is stored";
  const PresetFiles files;
  const Folder folder;
  const Daemon daemon({}, {"STATE_DIRECTORY=" + folder / "state"});
  const std::string passing = "/var/tmp/preset_20.bin";
  const std::string file = folder.Write("a.bin", "");
  const auto gone = [&] { return ::access(passing.c_str(), F_OK) != 0; };
  const auto run = [&](const std::string& command, const std::string& out) {
    EXPECT_EQ((Outcome{0, out, ""}), RunConfigctl(daemon.GetURI(), WordsOf(command))) << command;
    EXPECT_TRUE(gone());
  };
  run("set IntervalFrames 12", "IntervalFrames: stored 12\n");
  run("preset save 20", "preset 20 saved\n");
  const std::string loaded = RunConfigctl(daemon.GetURI(), {"preset", "load", "20", file}).out;
  const std::string contents = folder.Read("a.bin");
  const std::string bytes = "\", " + std::to_string(contents.size()) + " bytes\n";
  EXPECT_EQ("preset 20 loaded into \"" + file + bytes, loaded);
  run("preset store 20 " + file, "preset 20 stored from \"" + file + bytes);
  run("set IntervalFrames 1", "IntervalFrames: stored 1\n");
  run("preset recall 20", "preset 20 recalled\n");
  run("get IntervalFrames", "12\n");

  // Done, says the device, and there is no file.
  EXPECT_THAT(RunWith(Giving(2), {"preset", "load", "20", file}).err,
              HasSubstr(passing + " cannot be read (No such file or directory); run this on the "
                                  "device"));
  EXPECT_EQ(contents, folder.Read("a.bin"));
  // Nobody is left to take it, and it does not stay.
  EXPECT_EQ(3, RunWith(Giving(0), {"preset", "store", "20", file}).status);
  EXPECT_TRUE(gone());
}

TEST(ConfigctlPreset, SaysHowItFailed) {
  EXPECT_EQ(Fails("preset 3 was not saved: the device says Store Failed; see what it logged, and "
                  "try again"),
            RunWith(Giving(3), {"preset", "save", "3"}));
  EXPECT_EQ(Fails("preset 3 was not loaded: the device says Export Failed; see what it logged, and "
                  "try again; it moves through /var/tmp/preset_3.bin, which the device has to "
                  "reach"),
            RunWith(Giving(3), {"preset", "load", "3", "/nowhere/a.bin"}));
  EXPECT_EQ(3, RunWith(Giving(0), {"preset", "save", "3"}).status);
  EXPECT_EQ(Fails("RegisterRecallResult is in use by somebody else, or cannot be set; try again in "
                  "a moment"),
            RunWith(Giving(2, true), {"preset", "recall", "3"}));
}

TEST(ConfigctlPreset, GivesUpAfterHalfAMinute) {
  EXPECT_EQ(
      Fails("preset 3 was not saved: the device gave no result within 30 seconds; see whether "
            "it keeps presets, and try again"),
      RunWith(Giving(1), {"preset", "save", "3"}));
}

TEST(ConfigctlPreset, SaysBeforehandWhatCannotBe) {
  const Folder folder;
  const std::string empty = folder.Write("empty.bin", "");
  EXPECT_EQ(Fails("\"" + empty + "\" is empty; name a file that preset load has written"),
            RunConfigctl(kNowhere, {"preset", "store", "3", empty}));
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
  EXPECT_EQ(2, RunConfigctl(kNowhere, {"preset", "save", "0"}).status);
  EXPECT_EQ(2, RunConfigctl(kNowhere, {"preset", "save", "21"}).status);
}

TEST(ConfigctlPreset, ShowsOnATerminalThatItWaits) {
  if (!CanUseShell()) GTEST_SKIP() << "no shell here can start configctl";
  if (::access("/usr/bin/script", X_OK) != 0) GTEST_SKIP() << "there is no program script";
  const PlayedServer device(Giving(2));
  Process terminal({"/usr/bin/script", "-qec",
                    std::string(CONFIGCTL_PATH) + " --uri " + device.GetURI() + " preset save 3",
                    "/dev/null"});
  EXPECT_EQ(0, terminal.Wait());
  EXPECT_THAT(terminal.GetOutput(),
              MatchesRegex("saving preset 3 \\.\\.\\. 0 s.*\\[Kpreset 3 saved\r?\n"));
}
