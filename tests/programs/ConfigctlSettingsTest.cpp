// Settings carried in a file, compared with one, and given their factory values again.
#include <sys/stat.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/programs/Programs.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"
#include "tests/testing/PlayedServer.h"

using nlohmann::json;

namespace {

class ConfigctlSettings : public testing::Test {
 protected:
  Outcome Run(const Process::Words& arguments) { return RunConfigctl(_daemon.GetURI(), arguments); }
  void Set(const std::string& name, const std::string& value) {
    EXPECT_EQ(0, Run({"set", name, value}).status) << name;
  }
  std::string Get(const std::string& name) { return Run({"get", name}).out; }
  // A file whose settings are `members`, a part of a JSON object.
  std::string File(const std::string& members) {
    return _folder.Write("file.json", R"({"format": "configctl settings", "version": 1, )"
                                      R"("settings": {)" +
                                          members + "}}");
  }
  json Settings(const std::string& name) { return json::parse(_folder.Read(name)).at("settings"); }

  Daemon _daemon;
  Folder _folder;
};

mode_t Permissions(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(0, ::stat(path.c_str(), &status));
  return status.st_mode & 07777;
}

}  // namespace

TEST_F(ConfigctlSettings, ComeBackFromWhatWasExported) {
  const std::string file = _folder / "a.json";
  Set("IPConfig", "Static Addr");
  Set("IPAddress", "10.0.0.3");
  Set("IntervalFrames", "12");
  Set("SysName", "Edit \xc3\xa9\n\"7\"");
  Set("WiFiSSID", "\xff\x01");
  Set("TransportCommand", "1");  // none
  EXPECT_EQ((Outcome{0, "\"" + file + "\" holds 5 settings\n", ""}), Run({"export", file}));
  EXPECT_EQ(json({{"IPConfig", "Static Addr"},
                  {"IPAddress", "10.0.0.3"},
                  {"IntervalFrames", 12},
                  {"SysName", "Edit \xc3\xa9\n\"7\""},
                  {"WiFiSSID", {{"hex", "ff01"}}}}),
            Settings("a.json"));
  const Process::Words diff = {"diff", file};
  EXPECT_EQ(0, Run(diff).status);

  for (const char* const name :
       {"IPConfig", "IPAddress", "IntervalFrames", "SysName", "WiFiSSID"}) {
    Set(name, name[0] == 'I' ? "1" : "other");
  }
  Set("TimecodeBurn", "Top");  // was no part of it
  EXPECT_EQ(1, Run(diff).status);
  const Outcome imported = Run({"import", file});
  EXPECT_EQ(0, imported.status) << imported;
  EXPECT_THAT(imported.out, EndsWith("5 values: 5 set\n"));
  EXPECT_EQ(0, Run(diff).status);
  EXPECT_EQ("\\xff\\x01\n", Get("WiFiSSID"));
  EXPECT_EQ("Top\n", Get("TimecodeBurn"));
  EXPECT_THAT(Run({"diff", "--all", file}).out,
              HasSubstr("differs     TimecodeBurn: Off (0) from"));
}

TEST_F(ConfigctlSettings, ExportAllOfThemAndNoneOfTheCommands) {
  const json answer = json::parse(Run({"export", "--all", "--json"}).out).at("result");
  const json& settings = answer.at("settings");
  EXPECT_EQ(104U, settings.size() + answer.at("left_out").size());
  for (const char* const name : {"FormatMedia", "MACAddress", "TransportState", "RegisterSave"}) {
    EXPECT_FALSE(settings.contains(name)) << name;
  }
  // To standard output it is the same document.
  EXPECT_EQ(settings, json::parse(Run({"export", "--all"}).out).at("settings"));
}

TEST_F(ConfigctlSettings, AreAllJudgedBeforeTheGoodOnesAreSet) {
  Set("IntervalTime", "20");
  const std::string file = File(
      R"("IntervalFrames": 500, "IPConfig": "DHCP", "IntervalTime": 20, "eParamID_SysName": "x",
         "SYSNAME": "y", "IPConfgi": "DHCP", "RecordType": "Normla", "LoopPlay": 7,
         "IPAddress": "10.0.0.300", "AudioChannels": [2], "ReelName": 7, "PrerollPreset": -1,
         "TimecodeValue": "short", "MACAddress": "z", "DateSet": "2031-12-24",
         "TimecodeBurn": "Top", "TimecodeBurn": "Top", "\u001b[2J": 1, "Take": 99999999999)");
  const std::string told = R"(
skipped      SysName stands there twice; keep one of the two
skipped      SysName stands there twice; keep one of the two
unknown      there is no parameter "IPConfgi"; did you mean IPConfig?
skipped      RecordType has no choice "Normla"; did you mean Normal?
skipped      LoopPlay has no choice 7; choose one of Off (0), On (1)
skipped      IPAddress takes an address such as 192.168.0.2, and "10.0.0.300" is none
skipped      AudioChannels takes a number or a text in quotes, and not [2]
skipped      ReelName takes a text in quotes, and not 7
skipped      PrerollPreset takes a number, 0 to 60 s, and "-1" is none
skipped      TimecodeValue takes 11 characters, and these are 5
skipped      MACAddress is read-only: the device itself sets it
skipped      DateSet is a command or a state of the device, and no setting; use configctl set for it
skipped      TimecodeBurn stands there twice; keep one of the two
unknown      there is no parameter "\x1b[2J"; see configctl list --hidden
skipped      Take takes a number, 1 to 999, and "99999999999" is none
)";
  const Outcome dry = Run({"import", "--dry-run", file});
  EXPECT_EQ(1, dry.status);
  EXPECT_THAT(
      dry.out,
      EndsWith(
          R"(would clamp  IntervalFrames: 1 frames -> 120 frames, as 500 frames is beyond the limits
would set    IPConfig: Default Addr (0) -> DHCP (1)
unchanged    IntervalTime: 20 s
18 values: 1 would set, 1 unchanged, 1 would clamp, 13 skipped, 2 unknown
)"));
  EXPECT_EQ("Default Addr\n", Get("IPConfig"));
  ExpectSession(
      _daemon.GetURI(),
      "1$ import " + file + told +
          R"(clamped      IntervalFrames: 1 frames -> 120 frames, as 500 frames is beyond the limits
set          IPConfig: Default Addr (0) -> DHCP (1)
unchanged    IntervalTime: 20 s
18 values: 1 set, 1 unchanged, 1 clamped, 13 skipped, 2 unknown
configctl: 16 of 18 values of ")" +
          file +
          R"(" were not applied as they are written; mend those lines of the file and import it again
$ get IPConfig SysName TimecodeBurn
IPConfig = DHCP
SysName = Vantor Rack
TimecodeBurn = Off
)");
  const json answer = json::parse(Run({"import", "--json", file}).out);
  EXPECT_EQ(1, answer.at("error").at("code"));
  // What names no parameter can be neither same nor different.
  EXPECT_EQ(2, Run({"diff", file}).status);
}

TEST_F(ConfigctlSettings, AreAppliedToTheEndThoughNobodyReads) {
  const std::string fifo = _folder / "fifo";
  ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
  // Nobody reads any more before the first line is written.
  const auto run = [&](Process::Words words, const char* settings) {
    words.push_back(fifo);
    const auto process = testing_support::StartConfigctl(_daemon.GetURI(), words);
    process->CloseOutput();
    std::ofstream(fifo) << R"({"format": "configctl settings", "version": 1, "settings": )"
                        << settings << "}";
    return process->Wait();
  };
  EXPECT_EQ(0, run({"import"}, R"({"IntervalFrames": 12, "IPConfig": "DHCP", "IntervalTime": 9})"));
  EXPECT_EQ("9\n", Get("IntervalTime"));
  EXPECT_EQ(1, run({"import", "--json"}, R"({"IntervalFrames": 500, "IPConfig": "Static"})"));
  EXPECT_EQ("Static Addr\n", Get("IPConfig"));
  EXPECT_EQ(1, run({"diff"}, R"({"IntervalFrames": 1, "IPConfig": "Static"})"));

  if (!testing_support::CanUseShell()) GTEST_SKIP() << "no shell here can start configctl";
  Process full({"/bin/sh", "-c",
                "exec \"$0\" --uri \"$1\" reset IntervalFrames IntervalTime >/dev/full",
                CONFIGCTL_PATH, _daemon.GetURI()});
  EXPECT_EQ(1, full.Wait());
  EXPECT_EQ(
      "configctl: cannot write the output: No space left on device; all else is done; make "
      "room, or send it elsewhere\n",
      full.GetErrors());
  EXPECT_EQ("10\n", Get("IntervalTime"));
}

TEST_F(ConfigctlSettings, AreSetBehindTheirSelectors) {
  // Also through a selector that the file does not name: the timecode's input goes by the remote
  // control.
  const std::string file = File(
      R"("TimecodeValue": "02:00:00:00", "IPAddress": "10.0.0.3", "IntervalFrames": 3,
         "RS422Remote": "RS-422", "IntervalRecord": "On", "IPConfig": "Static Addr")");
  EXPECT_EQ(0, Run({"import", file}).status);
  for (const char* const name : {"RS422Remote", "TimecodeValue", "IPConfig", "IPAddress",
                                 "IntervalRecord", "IntervalFrames"}) {
    _daemon.GetProcess().WaitForLine(std::string("  ") + name + ": ");  // those before are passed
  }
}

TEST_F(ConfigctlSettings, KeepPasswordsToThemselvesAndSaySo) {
  const std::string file = _folder.Write("a.json", "");
  Set("SystemPassword", "hunter2");
  const Outcome exported = Run({"export", file});
  EXPECT_EQ(
      "configctl: passwords were left out: SystemPassword; export with --show-secrets to "
      "have them in the file\n",
      exported.err);
  EXPECT_THAT(_folder.Read("a.json"), AllOf(Not(HasSubstr("hunter2")), HasSubstr("\"left_out\"")));
  EXPECT_THAT(Run({"import", file}).out, HasSubstr("left out     SystemPassword: a password"));

  EXPECT_EQ(0, Run({"export", "--show-secrets", file}).status);
  EXPECT_EQ("hunter2", Settings("a.json").at("SystemPassword"));
  EXPECT_EQ(0600U, Permissions(file));  // though it was there before
  const std::string other = _folder.Write(
      "b.json",
      R"({"format": "configctl settings", "version": 1, "settings": {}, "left_out": ["Gone"]})");
  EXPECT_THAT(Run({"diff", "--all", other}).out,
              AllOf(HasSubstr("not known   there is no parameter \"Gone\""),
                    HasSubstr("differs     SystemPassword: ")));
  Set("SystemPassword", "swordfish");
  EXPECT_EQ("set          SystemPassword: \"********\" -> \"********\"\n1 value: 1 set\n",
            Run({"import", file}).out);
  EXPECT_EQ("hunter2\n", Run({"--show-secrets", "get", "SystemPassword"}).out);
}

TEST_F(ConfigctlSettings, AreWrittenWholeOrNotAtAll) {
  const std::string file = _folder.Write("a.json", "before");
  ASSERT_EQ(0, ::symlink("a.json", (_folder / "link").c_str()));
  ASSERT_EQ(0, ::chmod(file.c_str(), 0640));
  // Somebody else may have put a link there.
  EXPECT_EQ(0, Run({"export", _folder / "link"}).status);
  EXPECT_EQ("before", _folder.Read("a.json"));
  EXPECT_EQ(json::object(), Settings("link"));
  EXPECT_EQ(0, Run({"export", file}).status);
  EXPECT_EQ(0640U, Permissions(file));

  ExpectSession(_daemon.GetURI(), R"(1$ export /dev/null
configctl: "/dev/null" is no regular file, and nothing was written; name another file
1$ export /nowhere/a.json
configctl: cannot write "/nowhere/a.json": No such file or directory; fix this, or name another file
)");
  // A disk that is full: nothing is put in the place, and nothing is left beside it.
  if (!testing_support::CanUseShell()) GTEST_SKIP() << "no shell here can start configctl";
  const std::string before = _folder.Read("a.json");
  Process full({"/bin/sh", "-c",
                "ulimit -f 0; trap '' XFSZ; exec \"$0\" --uri \"$1\" export \"$2\"", CONFIGCTL_PATH,
                _daemon.GetURI(), file});
  EXPECT_EQ(1, full.Wait());
  EXPECT_THAT(full.GetErrors(), HasSubstr("cannot write"));
  EXPECT_EQ(before, _folder.Read("a.json"));
  EXPECT_EQ(2U, _folder.CountFiles());
}

TEST_F(ConfigctlSettings, GetTheirFactoryValuesAgain) {
  Set("IntervalFrames", "12");
  Set("SysName", "Edit 7");
  ExpectSession(_daemon.GetURI(), R"(1$ reset SysName intervalframes TransportState
skipped      SysName is no part of a factory reset; do it with configctl set SysName "Vantor Rack"
skipped      TransportState is read-only: the device itself sets it
set          IntervalFrames: 12 frames -> 1 frames
3 values: 1 set, 2 skipped
configctl: 2 of 3 settings did not get their factory values; the lines above tell why
$ set IntervalFrames 12
IntervalFrames: stored 12
$ reset --all
set          IntervalFrames: 12 frames -> 1 frames
67 values: 1 set, 66 unchanged
37 other settings are no part of a factory reset and stay as they are
$ get SysName
Edit 7
)");
  EXPECT_EQ(1, Run({"reset", "IntervalTime", "Bogus"}).status);
  EXPECT_EQ(2, Run({"reset"}).status);
  EXPECT_EQ(2, Run({"reset", "--all", "SysName"}).status);
}

TEST_F(ConfigctlSettings, SayWhatIsWrongWithAFile) {
  const struct {
    const char* text;
    const char* message;
  } kFiles[] = {
      {"{\n  \"format\": \"configctl settings\",\n  \"version\": 1, }",
       "line 3, column 17: this is no JSON (syntax error while parsing object key - unexpected "
       "'}'; expected string literal); mend it there"},
      {"{\"format\": \"\\\"1e400\",\n\"version\": 1e400}",
       "line 2, column 12: the number \"1e400\" is too large; mend it there"},
      {"[1]",
       "this is no file of settings, which begins with {\"format\": \"configctl settings\"; "
       "make one with configctl export"},
      {R"({"format": "configctl settings", "version": 2, "settings": {}})",
       "version 2 of the format is not known here; use the configctl that wrote it, or one that is "
       "newer"},
      {R"({"format": "configctl settings", "version": 1, "settings": [1]})",
       "\"settings\" is missing; it holds a value for each name"},
      {R"({"format": "configctl settings", "version": 1, "settings": {}, "settings": {}})",
       "\"settings\" stands there twice; keep one of the two"},
  };
  for (const auto& file : kFiles) {
    const std::string path = _folder.Write("bad.json", file.text);
    const std::string message = "configctl: \"" + path + "\": " + file.message + "\n";
    EXPECT_EQ((Outcome{1, "", message}), Run({"import", path}));
    EXPECT_EQ((Outcome{2, "", message}), Run({"diff", path}));
  }
  const auto import = [&](const std::string& file) { return Run({"import", file}); };
  EXPECT_THAT(import(_folder.Write("deep.json", std::string(200000, '['))).err,
              HasSubstr("it is nested too deep"));
  EXPECT_THAT(import("/nowhere").err, HasSubstr("\"/nowhere\": No such file or directory; "));
  const std::string text(100000, 'x');
  EXPECT_GT(500U, import(File("\"" + text + "\": 1, \"IPConfig\": \"" + text + "\"")).out.size());
  ASSERT_EQ(0, ::mkfifo((_folder / "pipe").c_str(), 0600));
  EXPECT_EQ((Outcome{4, "",
                     "configctl: nothing came from \"" + _folder / "pipe" +
                         "\" in time; have it written, or give it longer with --timeout\n"}),
            Run({"--timeout", "0.1", "import", _folder / "pipe"}));
  EXPECT_THAT(import("/dev/zero").err, HasSubstr("has more than 262144 bytes"));
  EXPECT_EQ(2, RunConfigctl("tcp://127.0.0.1:1", {"diff", File("\"Take\": 1")}).status);
  EXPECT_EQ(3, RunConfigctl("tcp://127.0.0.1:1", {"import", File("\"Take\": 1")}).status);
  EXPECT_THAT(Run({"--mapped", "export"}).err, HasSubstr("--mapped does not go with export"));
}

TEST(ConfigctlSettingsOfAnotherModel, AreToldToBeIncomplete) {
  const Daemon small({}, {"LIBCONFIG_PRODUCT=crandle"});
  const Outcome exported = RunConfigctl(small.GetURI(), {"export"});
  EXPECT_EQ(0, exported.status);
  EXPECT_THAT(exported.err, HasSubstr(" is another model than this machine, and settings that"));
  EXPECT_EQ("Crandle", json::parse(exported.out).at("product"));
  const Folder folder;
  const std::string file = folder.Write(
      "a.json", R"({"format": "configctl settings", "version": 1, "settings": {"WiFiSSID": "x"}})");
  EXPECT_THAT(RunConfigctl(small.GetURI(), {"import", file}).out,
              AllOf(HasSubstr("skipped      " + small.GetURI() + " has no value for WiFiSSID"),
                    EndsWith("1 value: 1 skipped\n")));
}

// The first setting is there already; the second is taken, and then the device goes away.
TEST_F(ConfigctlSettings, SayHowFarTheyCameWhenTheDeviceGoesAway) {
  PlayedServer store(
      [](PlayedPeer& peer) {
        auto request = peer.Request();
        for (; !request.empty() && request[0] == 80; request = peer.Request()) {
          peer.Answer(request, 1);
        }
      },
      2);
  const std::string file = File(R"("IPConfig": 1, "Take": 2, "ClipNumber": 3)");
  ExpectSession(store.GetURI(), "3$ import " + file + R"(
unchanged    IPConfig: DHCP (1)
sent         Take: 2 was sent and not read back; look with configctl get Take
not tried    ClipNumber
3 values: 1 not tried, 1 sent, 1 unchanged
configctl: the connection to URI was lost; see whether configd is still running there, and try again
3$ set Take 2
configctl: the connection to URI was lost; see whether configd is still running there, and try again; it may have been stored: look with configctl get Take
)");
}

// A store in which each setting undoes the one before it.
TEST_F(ConfigctlSettings, AreReadAgainAtTheEnd) {
  PlayedServer store([](PlayedPeer& peer) {
    WordList last(10);
    for (auto request = peer.Request(); !request.empty(); request = peer.Request()) {
      if (request[0] == 81) last = request;
      if (request[0] == 80) peer.Answer(request, request[6] == last[6] ? last[7] : 0);
    }
  });
  const std::string file = File(R"("IPConfig": 1, "IntervalTime": 20)");
  ExpectSession(
      store.GetURI(),
      "1$ import " + file + R"(
set          IPConfig: Default Addr (0) -> DHCP (1)
set          IntervalTime: 0 s -> 20 s
altered      IPConfig: reads Default Addr (0) now, and not DHCP (1)
2 values: 1 set, 1 altered
configctl: 1 of 2 values of ")" +
          file +
          R"(" were not applied as they are written; mend those lines of the file and import it again
)");
}

TEST_F(ConfigctlSettings, AreNotTakenForReadWhereAllReadingIsRefused) {
  PlayedServer refusing(
      [](PlayedPeer& peer) {
        for (auto request = peer.Request(); !request.empty(); request = peer.Request()) {
          peer.Answer(request, 0, 60);
        }
      },
      2);
  const std::string file = _folder.Write("a.json", "before");
  ExpectSession(refusing.GetURI(), "1$ export " + file + R"(
configctl: URI has no value for any of the settings, and nothing was written; see whether configd is well there, or name another place with --uri or --config
)");
  EXPECT_EQ("before", _folder.Read("a.json"));
  const Outcome status = RunConfigctl(refusing.GetURI(), {"status"});
  EXPECT_EQ(1, status.status);
  EXPECT_THAT(status.err, HasSubstr(" is there and refuses to be read; see whether configd"));
}
