// configctl's answers to single questions: their exact text, where it goes, and the exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "tests/programs/Programs.h"
#include "tests/testing/Wire.h"

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing_support::Daemon;
using testing_support::Outcome;
using testing_support::Process;
using testing_support::RunConfigctl;
using testing_support::StartConfigctl;
using testing_support::Wire;
using testing_support::WireListener;
using testing_support::WirePeer;
using testing_support::Words;

namespace {

constexpr char kNowhere[] = "tcp://127.0.0.1:1";

Outcome Done(const std::string& out) { return {0, out, ""}; }
Outcome Fails(int status, const std::string& message) {
  return {status, "", "configctl: " + message + "\n"};
}

class Configctl : public testing::Test {
 protected:
  Outcome Run(const Process::Words& arguments) { return RunConfigctl(_daemon.GetURI(), arguments); }
  json RunJson(Process::Words arguments) {
    arguments.push_back("--json");
    const Outcome outcome = Run(arguments);
    EXPECT_EQ("", outcome.err);
    json answer = json::parse(outcome.out);
    EXPECT_EQ(outcome.status == 0, answer.at("ok"));
    EXPECT_EQ(arguments.front(), answer.at("command"));
    EXPECT_EQ(outcome.status, outcome.status == 0 ? 0 : answer["error"]["code"].get<int>());
    return answer;
  }

  Daemon _daemon;
};

}  // namespace

TEST_F(Configctl, AnswersOneNameWithItsValueAndSeveralWithALineEach) {
  EXPECT_EQ(Done("Default Addr\n"), Run({"get", "IPConfig"}));
  EXPECT_EQ(Done("192.168.0.2\n"), Run({"get", "0x32020000"}));
  EXPECT_EQ(Done("Ready\n"), Run({"get", "status"}));  // a parameter, not the command
  EXPECT_EQ(Done("IPConfig = Default Addr\nSysName = Vantor Rack\nIntervalFrames = 1\n"),
            Run({"get", "50.1", "eparamid_sysname", "intervalFRAMES"}));
}

TEST_F(Configctl, FindsNoParameterButTheNearestNames) {
  EXPECT_EQ(Fails(1, "there is no parameter \"IPConfgi\"; did you mean IPConfig?"),
            Run({"get", "IPConfgi"}));
  EXPECT_EQ(Fails(1, "there is no parameter \"\\x1b[2J\"; see configctl list --hidden"),
            Run({"set", "\x1b[2J", "1"}));
  EXPECT_EQ(Fails(1,
                  "50.2 stands for 4 parameters; name one of them: IPAddress, IPAddress_1, "
                  "IPAddress_2, IPAddress_3"),
            Run({"describe", "50.2"}));
  EXPECT_EQ(1, Run({"get", "0x320100001"}).status);
  EXPECT_EQ(1, Run({"watch", "50.77"}).status);
}

TEST_F(Configctl, UnderstandsEveryWayToWriteAValue) {
  EXPECT_EQ(Done("IPConfig: stored DHCP\n"), Run({"set", "IPConfig", "dhcp"}));
  EXPECT_EQ(Done("IPConfig: stored Static Addr\n"), Run({"set", "IPConfig", "static"}));
  EXPECT_EQ(Done("IPConfig: stored Default Addr\n"), Run({"set", "IPConfig", "0x0"}));
  // The short label has a line break.
  EXPECT_EQ(Done("RecordType: stored Remove 3:2 Pulldown\n"),
            Run({"set", "RecordType", "remove 3:2"}));
  EXPECT_EQ(Done("IPAddress: stored 10.0.0.3\n"), Run({"set", "IPAddress", "10.0.0.3"}));
  EXPECT_EQ(Done("IPAddress: stored 10.0.0.4\n"), Run({"set", "IPAddress", "0x0A000004"}));
  EXPECT_EQ(Done("SysName: stored --[a,b] {}%s\n"), Run({"set", "SysName", "--", "--[a,b] {}%s"}));
  EXPECT_EQ(Done("--[a,b] {}%s\n"), Run({"get", "SysName"}));
}

TEST_F(Configctl, RefusesWhatTheCatalogueRefuses) {
  EXPECT_EQ(Fails(1,
                  "IPConfig has no choice 7; choose one of Default Addr (0), DHCP (1), Static "
                  "Addr (2)"),
            Run({"set", "IPConfig", "7"}));
  EXPECT_EQ(Fails(1, "IPConfig has no choice \"DCHP\"; did you mean DHCP?"),
            Run({"set", "IPConfig", "DCHP"}));
  EXPECT_EQ(Fails(1, "IPAddress takes an address such as 192.168.0.2, and \"10.0.0.300\" is none"),
            Run({"set", "IPAddress", "10.0.0.300"}));
  EXPECT_EQ(Fails(1, "IntervalFrames takes a number, 1 to 120 frames, and \"4294967296\" is none"),
            Run({"set", "IntervalFrames", "4294967296"}));
  EXPECT_EQ(Fails(1,
                  "SysName takes 1 to 32 characters, and these are 0; change it, or store it all "
                  "the same with --force"),
            Run({"set", "SysName", ""}));
  EXPECT_THAT(Run({"set", "DateSet", "2031-13-24"}).err,
              HasSubstr("takes a text that matches ^20"));
  EXPECT_EQ(Done("DateSet: stored 2031-12-24\n"), Run({"set", "DateSet", "2031-12-24"}));
  EXPECT_EQ(1, Run({"set", "MACAddress", "00:00:00:00:00:01"}).status);
  EXPECT_EQ(Done("IPAddress_3: stored 1.2.3.4\n"),
            Run({"set", "IPAddress_3", "1.2.3.4", "--force"}));
}

TEST_F(Configctl, TellsWhatWasStoredWhenItWasNotWhatWasAskedFor) {
  EXPECT_EQ(Done("IntervalFrames: stored 120 (asked for 500)\n"),
            Run({"set", "IntervalFrames", "500"}));
  // It is 120 already, and clamped all the same.
  EXPECT_EQ(Done("IntervalFrames: stored 120 (asked for 121)\n"),
            Run({"set", "IntervalFrames", "121"}));
  EXPECT_EQ(Fails(1,
                  "IntervalFrames takes 1 to 120 frames, so that 0 would be stored as 1; choose "
                  "another, or leave out --strict"),
            Run({"set", "--strict", "IntervalFrames", "0"}));
  EXPECT_EQ(Done("120\n"), Run({"get", "IntervalFrames"}));
  const json clamped = RunJson({"set", "IntervalFrames", "0"}).at("result");
  EXPECT_EQ(json({{"name", "IntervalFrames"},
                  {"id", "0x09020000"},
                  {"value", 1},
                  {"text", "1"},
                  {"outcome", "clamped"},
                  {"asked", 0},
                  {"before", 120}}),
            clamped);
}

// A store may refuse what the catalogue allows, and says nothing then: IPConfig stays 0.
TEST(ConfigctlAlone, NoticesThatAStoreKeptTheOldValue) {
  WireListener listener;
  std::thread store([&] {
    Wire peer(listener.Accept());
    peer.Receive(24);
    peer.Send(Words(std::array<uint32_t, 7>{32, 0, 0, 0, 0, 4096, 0}));
    for (;;) {
      const auto request = peer.Record(10);
      if (request.empty() || request[0] != 80) {
        if (!request.empty() && request[0] == 81) continue;
        break;
      }
      peer.Send(Words(std::array<uint32_t, 11>{96, request[1], request[2], 0, 0, 4096, request[6],
                                               0, 0, 0, 0}));
    }
  });
  const Outcome outcome = RunConfigctl(listener.GetURI(), {"set", "IPConfig", "DHCP"});
  store.join();
  EXPECT_EQ(Fails(1,
                  "IPConfig: DHCP was refused and Default Addr is kept; configctl describe "
                  "IPConfig tells what it takes"),
            outcome);
}

TEST_F(Configctl, MasksPasswordsUnlessItIsToldNotTo) {
  EXPECT_EQ(Done("SystemPassword: stored ********\n"), Run({"set", "SystemPassword", "hunter2"}));
  EXPECT_EQ(Done("********\n"), Run({"get", "SystemPassword"}));
  EXPECT_EQ(Done("hunter2\n"), Run({"--show-secrets", "get", "SystemPassword"}));
  EXPECT_THAT(RunJson({"get", "SystemPassword"}).dump(),
              AllOf(HasSubstr("\"masked\":true"), Not(HasSubstr("hunter"))));
  EXPECT_THAT(RunJson({"set", "SystemPassword", "swordfish"}).dump(),
              AllOf(Not(HasSubstr("hunter")), Not(HasSubstr("fish"))));
  EXPECT_THAT(_daemon.GetProcess().WaitForLine("SystemPassword"),
              HasSubstr("SystemPassword: \"********\" -> \"********\"  by "));
}

TEST_F(Configctl, LetsNoTextPassForAnotherLineOrMoveTheCursor) {
  // A line break, an escape sequence, one of the second set, a byte that is no UTF-8, and an
  // accent.
  EXPECT_EQ(0, Run({"set", "SysName", "a\nb\x1b[1m\xc2\x9b\xff\xc3\xa9\"\\"}).status);
  EXPECT_EQ(Done("a\\x0ab\\x1b[1m\\xc2\\x9b\\xff\xc3\xa9\"\\\n"), Run({"get", "SysName"}));
  EXPECT_EQ("a\nb\x1b[1m\xc2\x9b\xef\xbf\xbd\xc3\xa9\"\\",
            RunJson({"get", "SysName"}).at("result").at(0).at("value"));
  EXPECT_THAT(_daemon.GetProcess().WaitForLine("SysName"),
              HasSubstr("-> \"a\\x0ab\\x1b[1m\\xc2\\x9b\\xff\xc3\xa9\\\"\\\\\"  by "));
}

TEST_F(Configctl, TellsHowFastTheConfigurationAnswers) {
  const Outcome outcome = Run({"status"});
  EXPECT_EQ(0, outcome.status);
  EXPECT_EQ("", outcome.err);
  EXPECT_THAT(outcome.out, StartsWith(_daemon.GetURI() + " is there: connected in "));
  EXPECT_THAT(outcome.out, ContainsRegex("21 round trips: fastest [0-9.]+ ms, median "));
  const json result = RunJson({"status"}).at("result");
  EXPECT_LE(result.at("min_ms"), result.at("median_ms"));
  EXPECT_EQ(_daemon.GetURI(), result.at("uri"));
}

TEST_F(Configctl, KeepsConfigurationsApart) {
  EXPECT_EQ(0, Run({"--config", "3", "set", "SysName", "Third"}).status);
  EXPECT_EQ(Done("Vantor Rack\n"), Run({"get", "SysName"}));
  EXPECT_EQ(Done("Third\n"), Run({"get", "SysName", "--uri", _daemon.GetURI() + "/configid=3"}));
}

TEST_F(Configctl, AsksOverDatagramsToo) {
  const std::string uri = "udp://127.0.0.1:" + _daemon.GetPort();
  EXPECT_EQ(Done("IPConfig: stored DHCP\n"), Run({"--uri", uri, "set", "IPConfig", "DHCP"}));
  EXPECT_EQ(Done("SysName: stored Edit 7\n"), Run({"--uri", uri, "set", "SysName", "Edit 7"}));
  EXPECT_EQ(Done("DHCP\n"), Run({"get", "IPConfig"}));
  EXPECT_EQ(Fails(2, "changes cannot be watched at " + uri +
                         "; use its tcp:// URI instead, or a "
                         "multicast:// URI"),
            Run({"--uri", uri, "watch"}));
}

TEST_F(Configctl, PassesTheLibrarysMessagesOnOnlyWhenAsked) {
  const Outcome quiet = Run({"get", "--uri", kNowhere, "IPConfig"});
  EXPECT_EQ(Fails(3,
                  "nobody answers at tcp://127.0.0.1:1; start configd there, or name another "
                  "place with --uri"),
            quiet);
  EXPECT_THAT(Run({"get", "--uri", kNowhere, "IPConfig", "--verbose"}).err,
              HasSubstr("NetworkFactory::Connect - failed to connect to host"));
}

TEST(ConfigctlAlone, SaysWhenTheOtherModelLacksAParameter) {
  Daemon small({}, {"LIBCONFIG_PRODUCT=crandle"});
  const Outcome outcome = RunConfigctl(small.GetURI(), {"get", "WiFiStatus"});
  EXPECT_EQ(Fails(1, small.GetURI() + " has no value for WiFiStatus; it may be another model of "
                                      "the recorder"),
            outcome);
}

TEST(ConfigctlAlone, ExplainsAWrongCommandLineOnOneLine) {
  const struct {
    Process::Words arguments;
    const char* message;
  } kLines[] = {
      {{}, "there is nothing to do; see configctl --help"},
      {{"gett", "IPConfig"}, "there is no command \"gett\"; did you mean get?"},
      {{"get"}, "NAME is required; see configctl get --help"},
      {{"get", "--bogus"}, "there is no option \"--bogus\"; see configctl get --help"},
      {{"set", "SysName", "Edit", "Suite"},
       "there is too much on the line: \"Suite\"; put a text of several words in quotes; see "
       "configctl set --help"},
      {{"--timeout", "0", "status"},
       "--timeout: SECONDS is a number above 0 and up to 1000000, such as 2.5, and not \"0\"; see "
       "configctl status --help"},
      {{"list", "--group", "x"},
       "--group: Value x not in range 0 to 255; see configctl list --help"},
      {{"status", "--timeout", "nan"},
       "--timeout: SECONDS is a number above 0 and up to 1000000, such as 2.5, and not \"nan\"; "
       "see "
       "configctl status --help"},
      {{"status", "--uri", "127.0.0.1:43110"},
       "--uri 127.0.0.1:43110: the transport is missing; write it like tcp://127.0.0.1:43110, or "
       "mq:"},
      {{"status", "--uri", "tcp://127.0.0.1:99999"},
       "--uri tcp://127.0.0.1:99999: the port is not a number from 1 to 65535; write it like "
       "tcp://127.0.0.1:43110, or mq:"},
  };
  for (const auto& line : kLines) {
    EXPECT_EQ(Fails(2, line.message), RunConfigctl(kNowhere, line.arguments));
  }
  const json answer = json::parse(RunConfigctl(kNowhere, {"--json", "get"}).out);
  EXPECT_EQ(
      json({{"ok", false},
            {"command", "get"},
            {"error", {{"code", 2}, {"message", "NAME is required; see configctl get --help"}}}}),
      answer);
}

TEST(ConfigctlAlone, GivesUpOnAServerThatNeverAnswers) {
  const WireListener stuck;
  for (const Process::Words& command :
       {Process::Words{"get", "IPConfig"}, {"set", "IPConfig", "1"}, {"watch"}, {"status"}}) {
    Process::Words arguments = {"--timeout", "0.2"};
    arguments.insert(arguments.end(), command.begin(), command.end());
    EXPECT_EQ(Fails(4, stuck.GetURI() + " gave no answer within 0.2 seconds while connecting; see "
                                        "whether configd is well there, or wait longer with "
                                        "--timeout"),
              RunConfigctl(stuck.GetURI(), arguments));
  }
}

TEST(ConfigctlAlone, SaysThatAnotherServerIsNoConfigd) {
  WireListener other;
  std::atomic<bool> ended{false};
  // Closes whatever connects; the last connection is the test's own.
  std::thread server([&] {
    while (!ended) ::close(other.Accept());
  });
  const Outcome outcome = RunConfigctl(other.GetURI(), {"get", "IPConfig"});
  ended = true;
  ::close(Wire::Dial(other.GetPort()));
  server.join();
  EXPECT_EQ(
      Fails(3, "what listens at " + other.GetURI() +
                   " does not answer like configd, or has as many clients as it takes; check the "
                   "address and the port, end another client, or look closer with --verbose"),
      outcome);
}

// The catalogue answers these, so that no daemon has to be there.
TEST(ConfigctlAlone, DescribesAParameterLikeAManualPage) {
  const std::string page = RunConfigctl(kNowhere, {"describe", "IPConfig"}).out;
  EXPECT_THAT(page,
              StartsWith("NAME\n    IPConfig - IP Config\n\nDESCRIPTION\n    Selects where "));
  EXPECT_THAT(page, HasSubstr("    Menu            50.1 in 50 Network\n"));
  EXPECT_THAT(page, HasSubstr("    Identifier      eParamID_IPConfig, 0x32010000\n"));
  EXPECT_THAT(page, HasSubstr("    Choices         0   Default Addr  [Default]\n"
                              "                    1   DHCP\n"
                              "                    2   Static Addr  [Static]\n"
                              "    Default         Default Addr (0)\n"));
  EXPECT_THAT(page, HasSubstr("    Enables         50.2 IP Address (IPAddress) while it is Static "
                              "Addr (2)\n"));
  EXPECT_THAT(RunConfigctl(kNowhere, {"describe", "IPAddress"}).out,
              HasSubstr("    Works while     50.1 IP Config (IPConfig) = Static Addr (2)\n"));
  for (std::size_t at = 0, end; (end = page.find('\n', at)) != std::string::npos; at = end + 1) {
    EXPECT_LE(end - at, 80U) << page.substr(at, end - at);
  }
}

TEST(ConfigctlAlone, ListsParametersAndMenusInMenuOrder) {
  EXPECT_EQ(Done("6.1    GenLock  enumeration  Genlock\n"),
            RunConfigctl(kNowhere, {"list", "--group", "6"}));
  const std::string network = RunConfigctl(kNowhere, {"list", "--group", "50"}).out;
  EXPECT_THAT(network, StartsWith("50.1   IPConfig"));
  EXPECT_THAT(network, Not(HasSubstr("WiFiMACAddress")));
  EXPECT_THAT(RunConfigctl(kNowhere, {"list", "--group", "50", "--hidden"}).out,
              HasSubstr("WiFiMACAddress"));
  EXPECT_THAT(RunConfigctl(kNowhere, {"list", "--group", "77"}).err,
              HasSubstr("there is no menu 77; choose one of 0, 1, 2, "));

  const json all = json::parse(RunConfigctl(kNowhere, {"list", "--json"}).out).at("result");
  EXPECT_EQ(207U, all.size());

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
  const std::string folder =
      std::string(CONFIGCTL_PATH)
          .substr(0, std::strlen(CONFIGCTL_PATH) - std::strlen("/configctl"));
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
  std::istringstream names(commands);
  for (std::string name; names >> name;) {
    EXPECT_THAT(help, HasSubstr("\n  " + name + " "));
    EXPECT_EQ(0, RunConfigctl(kNowhere, {name, "--help"}).status);
  }
  EXPECT_EQ("--count --config\n", complete("watch --co"));
  EXPECT_EQ("IPConfig\n", complete("--json --timeout 3 get ipc"));
  EXPECT_EQ("Default\\ Addr DHCP\n", complete("set IPConfig d"));
}

TEST_F(Configctl, TakesAProxyForWhatItStandsForWhenAsked) {
  Run({"set", "RS422Remote", "RS-422"});
  EXPECT_EQ(Done("TimecodeIn: stored LTC\n"), Run({"--mapped", "set", "TimecodeIn", "LTC"}));
  EXPECT_EQ(Done("TimecodeIn = Embedded\nRS422TimecodeIn = LTC\n"),
            Run({"get", "TimecodeIn", "RS422TimecodeIn"}));
  EXPECT_EQ(Done("LTC\n"), Run({"get", "TimecodeIn", "--mapped"}));
  EXPECT_EQ(Done("169.254.0.2\n"), Run({"get", "--mapped", "IPAddress"}));
  EXPECT_EQ(Done("LTC\n"), Run({"get", "--mapped", "TimecodeIn", "--uri",
                                "udp://127.0.0.1:" + _daemon.GetPort()}));

  EXPECT_THAT(Run({"describe", "TimecodeIn"}).out,
              HasSubstr("\nSTANDS FOR\n"
                        "    Now             8.0 RS-422 Timecode In (RS422TimecodeIn)\n"
                        "    One of          8.0 Local Timecode In (LocalTimecodeIn)\n"
                        "                    8.0 RS-422 Timecode In (RS422TimecodeIn)\n"
                        "                    8.0 FireWire Timecode In (FW400TimecodeIn)\n"));
  EXPECT_THAT(Run({"describe", "RS422Remote"}).out, Not(HasSubstr("STANDS FOR")));
  const json standing = RunJson({"describe", "TimecodeIn"}).at("result").at("stands_for");
  EXPECT_EQ("RS422TimecodeIn", standing.at("now"));
  EXPECT_EQ("LocalTimecodeIn", standing.at("one_of").at(0));
}

TEST(ConfigctlAlone, DescribesAProxyThoughNobodyCanTellWhatItIsNow) {
  const Outcome outcome = RunConfigctl(kNowhere, {"describe", "IPAddress"});
  EXPECT_EQ(0, outcome.status);
  EXPECT_THAT(outcome.out, HasSubstr("    Now             not known: nobody answers at "));
  EXPECT_THAT(outcome.out, HasSubstr("    One of          50.2 Default IP (IPAddress_1)\n"));
}
