// configctl's answers to single questions: their exact text, where it goes, and the exit status.

#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <thread>

#include "tests/programs/Programs.h"
#include "tests/testing/Names.h"
#include "tests/testing/PlayedServer.h"

using nlohmann::json;
using testing::ContainsRegex;

namespace {

constexpr char kNowhere[] = "tcp://127.0.0.1:1";

Outcome Done(const std::string& out) { return {0, out, ""}; }

class Configctl : public testing::Test {
 protected:
  Outcome Run(const Process::Words& arguments) { return RunConfigctl(_daemon.GetURI(), arguments); }
  json ResultOf(Process::Words arguments) {
    arguments.push_back("--json");
    return json::parse(Run(arguments).out).at("result");
  }

  Daemon _daemon;
};

}  // namespace

TEST_F(Configctl, ReadsAndSetsByNamesAndValuesAsPeopleWriteThem) {
  ExpectSession(_daemon.GetURI(), R"($ get IPConfig
Default Addr
$ get 0x32020000
192.168.0.2
$ get status
Ready
$ get eparamid_sysname intervalFRAMES
SysName = Vantor Rack
IntervalFrames = 1
1$ describe 50.2
configctl: 50.2 stands for 4 parameters; name one of them: IPAddress, IPAddress_1, IPAddress_2, IPAddress_3
1$ get 0x320100001
configctl: there is no parameter "0x320100001"; see configctl list --hidden
$ set IPConfig static
IPConfig: stored Static Addr
$ set IPConfig 0x0
IPConfig: stored Default Addr
$ set RecordType 'remove 3:2'
RecordType: stored Remove 3:2 Pulldown
$ set IPAddress 10.0.0.3
IPAddress: stored 10.0.0.3
$ set IPAddress 0x0A000004
IPAddress: stored 10.0.0.4
$ set SysName -- '--[a,b] {}%s'
SysName: stored --[a,b] {}%s
$ get SysName
--[a,b] {}%s
$ --config 3 set SysName Third
SysName: stored Third
$ get SysName --uri URI/configid=3
Third
)");
}

TEST_F(Configctl, RefusesWhatTheCatalogueRefusesAndTellsWhatWasStored) {
  ExpectSession(_daemon.GetURI(), R"(1$ set IPConfig 7
configctl: IPConfig has no choice 7; choose one of Default Addr (0), DHCP (1), Static Addr (2)
1$ set IPAddress 10.0.0.300
configctl: IPAddress takes an address such as 192.168.0.2, and "10.0.0.300" is none
1$ set IntervalFrames 4294967296
configctl: IntervalFrames takes a number, 1 to 120 frames, and "4294967296" is none
1$ set SysName ''
configctl: SysName takes 1 to 32 characters, and these are 0; change it, or store it all the same with --force
$ set DateSet 2031-12-24
DateSet: stored 2031-12-24
$ set IPAddress_3 1.2.3.4 --force
IPAddress_3: stored 1.2.3.4
$ set IntervalFrames 121 --json
{"ok":true,"command":"set","result":{"name":"IntervalFrames","id":"0x09020000","text":"120","value":120,"outcome":"clamped","asked":121,"before":1}}
)");
  EXPECT_EQ(1, Run({"set", "MACAddress", "00:00:00:00:00:01"}).status);
  EXPECT_THAT(Run({"set", "DateSet", "2031-13-24"}).err,
              HasSubstr("takes a text that matches ^20"));
}

// A store may refuse what the catalogue allows, and says nothing then.
TEST(ConfigctlAlone, NoticesThatAStoreKeptTheOldValue) {
  PlayedServer store([](PlayedPeer& peer) {
    for (auto request = peer.Request(); !request.empty(); request = peer.Request()) {
      if (request[0] == 80) peer.Answer(request);
    }
  });
  ExpectSession(store.GetURI(), R"(1$ set IPConfig DHCP
configctl: IPConfig: DHCP was refused and Default Addr is kept; configctl describe IPConfig tells what it takes
)");
}

TEST_F(Configctl, MasksPasswordsUnlessItIsToldNotTo) {
  ExpectSession(_daemon.GetURI(), R"($ set SystemPassword hunter2
SystemPassword: stored ********
$ set SystemPassword hunter2 --json
{"ok":true,"command":"set","result":{"name":"SystemPassword","id":"0x7b020000","text":"********","value":"********","masked":true,"outcome":"stored","asked":"********","before":"********"}}
$ --show-secrets get SystemPassword
hunter2
)");
}

TEST_F(Configctl, LetsNoTextPassForAnotherLineOrMoveTheCursor) {
  // A line break, an escape sequence, one of the second set, a byte that is no UTF-8, and an
  // accent.
  EXPECT_EQ(0, Run({"set", "SysName", "a\nb\x1b[1m\xc2\x9b\xff\xc3\xa9\"\\"}).status);
  EXPECT_EQ(Done("a\\x0ab\\x1b[1m\\xc2\\x9b\\xff\xc3\xa9\"\\\n"), Run({"get", "SysName"}));
  EXPECT_EQ("a\nb\x1b[1m\xc2\x9b\xef\xbf\xbd\xc3\xa9\"\\",
            ResultOf({"get", "SysName"}).at(0).at("value"));
  // Nor in JSON, where they would be allowed: a direction mark, one of the second set, a delete.
  EXPECT_EQ(0, Run({"set", "SysName", "a\xe2\x80\xae\xc2\x9b\x7f\xc3\xa9"}).status);
  EXPECT_THAT(Run({"--json", "get", "SysName"}).out,
              HasSubstr("\"a\\u202e\\u009b\\u007f\xc3\xa9\""));
  EXPECT_THAT(Run({"export"}).out, HasSubstr("\"a\\u202e\\u009b\\u007f\xc3\xa9\""));
  EXPECT_THAT(_daemon.GetProcess().WaitForLine("SysName"),
              HasSubstr("-> \"a\\x0ab\\x1b[1m\\xc2\\x9b\\xff\xc3\xa9\\\"\\\\\"  by "));
}

TEST_F(Configctl, TellsHowFastTheConfigurationAnswers) {
  const std::string out = Run({"status"}).out;
  EXPECT_THAT(out, StartsWith(_daemon.GetURI() + " is there: connected in "));
  EXPECT_THAT(out, ContainsRegex("21 round trips: fastest [0-9.]+ ms, median "));
  const json result = ResultOf({"status"});
  EXPECT_LE(result.at("min_ms"), result.at("median_ms"));
  EXPECT_EQ(_daemon.GetURI(), result.at("uri"));
}

TEST_F(Configctl, AsksOverDatagramsToo) {
  ExpectSession("udp://127.0.0.1:" + _daemon.GetPort(), R"($ set IPConfig DHCP
IPConfig: stored DHCP
$ set SysName 'Edit 7'
SysName: stored Edit 7
2$ watch
configctl: changes cannot be watched at URI; use its tcp:// URI instead, or a multicast:// URI
)");
  EXPECT_EQ(Done("DHCP\n"), Run({"get", "IPConfig"}));
}

TEST(ConfigctlAlone, ExplainsAWrongCommandLineOnOneLine) {
  ExpectSession(kNowhere, R"(2$ 
configctl: there is nothing to do; see configctl --help
2$ gett IPConfig
configctl: there is no command "gett"; did you mean get?
2$ get
configctl: NAME is required; see configctl get --help
2$ --json get
{"ok":false,"command":"get","error":{"code":2,"message":"NAME is required; see configctl get --help"}}
2$ get --bogus
configctl: there is no option "--bogus"; see configctl get --help
2$ set SysName Edit Suite
configctl: there is too much on the line: "Suite"; put a text of several words in quotes; see configctl set --help
2$ list --group x
configctl: --group: Value x not in range 0 to 255; see configctl list --help
1$ list --group 77
configctl: there is no menu 77; choose one of 0, 1, 2, 3, 4, 5, 6, 8, 9, 12, 13, 14, 15, 16, 17, 19, 22, 30, 32, 35, 41, 50, 52, 53, 54, 55, 60, 70, 80, 91, 92, 93, 94, 99, 100, 120, 121, 122, 123, 125, 126, 127
2$ status --timeout nan
configctl: --timeout: SECONDS is a number above 0 and up to 1000000, such as 2.5, and not "nan"; see configctl status --help
2$ status --uri 127.0.0.1:43110
configctl: --uri 127.0.0.1:43110: the transport is missing; write it like tcp://127.0.0.1:43110, or mq:
2$ status --uri tcp://127.0.0.1:99999
configctl: --uri tcp://127.0.0.1:99999: the port is not a number from 1 to 65535; write it like tcp://127.0.0.1:43110, or mq:
3$ get IPConfig
configctl: nobody answers at URI; start configd there, or name another place with --uri
)");
  EXPECT_THAT(RunConfigctl(kNowhere, {"get", "IPConfig", "--verbose"}).err,
              HasSubstr("NetworkFactory::Connect - failed to connect to host"));
}

TEST(ConfigctlAlone, GivesUpOnAServerThatNeverAnswers) {
  const WireListener stuck;
  for (const std::string command : {"get IPConfig", "set IPConfig 1", "watch", "status"}) {
    ExpectSession(stuck.GetURI(), "4$ --timeout 0.2 " + command + R"(
configctl: URI gave no answer within 0.2 seconds while connecting; see whether configd is well there, or wait longer with --timeout
)");
  }
}

TEST(ConfigctlAlone, SaysThatAnotherServerIsNoConfigd) {
  WireListener other;
  std::atomic<bool> ended{false};
  // Closes whatever connects; the last connection is the test's own.
  std::thread server([&] {
    while (!ended) ::close(other.Accept());
  });
  ExpectSession(other.GetURI(), R"(3$ get IPConfig
configctl: what listens at URI does not answer like configd, or has as many clients as it takes; check the address and the port, end another client, or look closer with --verbose
)");
  ended = true;
  ::close(Wire::Dial(other.GetPort()));
  server.join();
}

TEST(ConfigctlAlone, DescribesAParameterLikeAManualPage) {
  const std::string page = RunConfigctl(kNowhere, {"describe", "IPAddress"}).out;
  EXPECT_THAT(page, HasSubstr("    Works while     50.1 IP Config (IPConfig) = Static Addr (2)\n"));
  // Nobody can tell what it stands for.
  EXPECT_THAT(page, HasSubstr("    Now             not known: nobody answers at "));
  EXPECT_THAT(page, HasSubstr("    One of          50.2 Default IP (IPAddress_1)\n"));
  for (std::size_t at = 0, end; (end = page.find('\n', at)) != std::string::npos; at = end + 1) {
    EXPECT_LE(end - at, 80U) << page.substr(at, end - at);
  }
}

// Each of its sessions, with a daemon of its own; but for times, files and presets.
TEST(Documentation, ShowsWhatConfigctlPrints) {
  std::ifstream file(SOURCE_FOLDER "/docs/configctl.md");
  std::string all(std::istreambuf_iterator<char>(file), {});
  const std::regex session("```\n([$] configctl [^`]*)```\n");
  int checked = 0;
  for (std::sregex_iterator found(all.begin(), all.end(), session), end; found != end; ++found) {
    const std::string text = Replaced((*found)[1], "$ configctl ", "$ ");
    if (std::regex_search(text, std::regex("status|edit7|[$] (menu|preset|watch)"))) continue;
    ++checked;
    const Daemon daemon;
    const std::string got = Session(daemon.GetURI(), text);
    EXPECT_EQ(text, std::regex_replace(got, std::regex("(^|\n)[0-9][$] "), "$1$$ "));
  }
  EXPECT_LE(5, checked);
}

TEST(ConfigctlAlone, ListsParametersAndMenusInMenuOrder) {
  const std::string network = RunConfigctl(kNowhere, {"list", "--group", "50"}).out;
  EXPECT_THAT(network, StartsWith("50.1   IPConfig"));
  EXPECT_THAT(network, Not(HasSubstr("WiFiMACAddress")));
  EXPECT_THAT(RunConfigctl(kNowhere, {"list", "--group", "50", "--hidden"}).out,
              HasSubstr("WiFiMACAddress"));
  const std::string menu = RunConfigctl(kNowhere, {"menu"}).out;
  EXPECT_THAT(menu, StartsWith("CONFIG\n  1 Formats\n    1.2    Record Type "));
  EXPECT_LT(menu.find("\n  32 Loss of video\n"), menu.find("\n  35 Remote control and gang\n"));
  EXPECT_THAT(menu, ContainsRegex("\n    50.1   IP Config +Default \\| DHCP \\| Static\n"));
  EXPECT_THAT(menu, HasSubstr("\n\nMEDIA\n  12 "));
}

TEST(ConfigctlAlone, CompletesCommandsNamesAndValues) {
  if (testing_support::Emulator() != nullptr) GTEST_SKIP() << "bash cannot start emulated programs";
  if (::access("/bin/bash", X_OK) != 0) GTEST_SKIP() << "there is no bash here";
  const std::string help = RunConfigctl(kNowhere, {"--help"}).out;
  const std::string path = CONFIGCTL_PATH;
  const std::string folder = path.substr(0, path.rfind('/'));
  const auto complete = [&](const std::string& words) {
    const std::string script =
        "source <(configctl completion bash); COMP_WORDS=(configctl " + words +
        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _configctl; echo \"${COMPREPLY[*]}\"";
    Process bash({"/bin/bash", "-c", script}, {"PATH=" + folder + ":/usr/bin:/bin"});
    EXPECT_EQ(0, bash.Wait()) << bash.GetErrors();
    return bash.GetOutput();
  };
  const std::string commands = complete("''");
  EXPECT_EQ("get set watch list describe menu export import diff reset preset status completion\n",
            commands);
  for (const std::string& name : WordsOf(commands)) {
    EXPECT_THAT(help, HasSubstr("\n  " + name + " "));
    EXPECT_EQ(0, RunConfigctl(kNowhere, {name, "--help"}).status);
  }
  EXPECT_EQ("--count --config\n", complete("watch --co"));
  EXPECT_EQ("IPConfig\n", complete("--json --timeout 3 get ipc"));
  EXPECT_EQ("Default\\ Addr DHCP\n", complete("set IPConfig d"));
}

TEST_F(Configctl, TakesAProxyForWhatItStandsForWhenAsked) {
  ExpectSession(_daemon.GetURI(), R"($ set RS422Remote RS-422
RS422Remote: stored RS-422
$ --mapped set TimecodeIn LTC
TimecodeIn: stored LTC
$ get TimecodeIn RS422TimecodeIn
TimecodeIn = Embedded
RS422TimecodeIn = LTC
$ get TimecodeIn --mapped
LTC
)");
  EXPECT_EQ(Done("LTC\n"), Run({"get", "--mapped", "TimecodeIn", "--uri",
                                "udp://127.0.0.1:" + _daemon.GetPort()}));
  EXPECT_THAT(Run({"describe", "TimecodeIn"}).out,
              HasSubstr("\nSTANDS FOR\n"
                        "    Now             8.0 RS-422 Timecode In (RS422TimecodeIn)\n"
                        "    One of          8.0 Local Timecode In (LocalTimecodeIn)\n"
                        "                    8.0 RS-422 Timecode In (RS422TimecodeIn)\n"
                        "                    8.0 FireWire Timecode In (FW400TimecodeIn)\n"));
  const json standing = ResultOf({"describe", "TimecodeIn"}).at("stands_for");
  EXPECT_EQ("RS422TimecodeIn", standing.at("now"));
  EXPECT_EQ("LocalTimecodeIn", standing.at("one_of").at(0));
}
