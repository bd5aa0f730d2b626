// configctl watch: what it prints while others change things, come and go.

#include <nlohmann/json.hpp>

#include "tests/programs/Programs.h"
#include "tests/testing/Names.h"
#include "tests/testing/Wire.h"

using nlohmann::json;

namespace {

constexpr char kTime[] = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3}  ";
constexpr uint32_t kIntervalTime = 0x09030000;
constexpr uint32_t kHighestIntervalTime = 86400;
constexpr uint32_t kMediaUpdated = 0x7d06000a;

std::string WithoutTime(const std::string& line) {
  EXPECT_THAT(line, MatchesRegex(kTime + std::string(".*")));
  return line.substr(std::min<std::size_t>(line.size(), 25));
}

class ConfigctlWatch : public testing::Test {
 protected:
  std::unique_ptr<Process> Watch(Process::Words arguments) {
    arguments.insert(arguments.begin(), "watch");
    return StartConfigctl(_daemon->GetURI(), arguments);
  }
  void Set(const std::string& name, const std::string& value) {
    EXPECT_EQ(0, RunConfigctl(_daemon->GetURI(), {"set", name, value}).status);
  }
  void Restart() {
    const std::string port = _daemon->GetPort();
    _daemon->End(SIGKILL);
    _daemon = std::make_unique<Daemon>(Process::Words{"--port", port});
  }

  std::unique_ptr<Daemon> _daemon = std::make_unique<Daemon>();
};

}  // namespace

TEST_F(ConfigctlWatch, PrintsTheValuesItWasAskedForAndThenEachChange) {
  const auto watch = Watch({"IPConfig", "SysName", "SystemPassword"});
  EXPECT_EQ("IPConfig: Default Addr (0)", WithoutTime(watch->WaitForLine()));
  EXPECT_EQ("SysName: \"Vantor Rack\"", WithoutTime(watch->WaitForLine()));
  EXPECT_EQ("SystemPassword: \"********\"", WithoutTime(watch->WaitForLine()));
  Set("IPConfig", "DHCP");
  EXPECT_EQ("IPConfig: Default Addr (0) -> DHCP (1)", WithoutTime(watch->WaitForLine()));
  Set("IntervalFrames", "7");  // nobody asked for this one
  Set("IPConfig", "DHCP");     // and this one is none
  Set("SystemPassword", "hunter2");
  EXPECT_EQ("SystemPassword: \"********\" -> \"********\"", WithoutTime(watch->WaitForLine()));
  watch->Kill(SIGTERM);
  EXPECT_EQ(0, watch->Wait());
  EXPECT_EQ("", watch->GetErrors());
}

TEST_F(ConfigctlWatch, WatchesEverythingAndEndsAfterTheWantedNumberOfChanges) {
  const auto watch = Watch({"--initial", "--count", "1"});
  watch->WaitForLine("LastSelectedMediaParam: ");  // the last one
  Set("IPAddress", "10.0.0.1");
  EXPECT_EQ("IPAddress: 192.168.0.2 -> 10.0.0.1", WithoutTime(watch->WaitForLine()));
  EXPECT_EQ(0, watch->Wait());
}

// The store announces some proxies itself, with values that are not in force.
TEST_F(ConfigctlWatch, FollowsAProxyToWhatItStandsFor) {
  RunConfigctl(_daemon->GetURI(), {"set", "DefaultGateway_1", "10.0.0.1", "--force"});
  Set("DefaultGateway_3", "10.0.0.3");
  const auto watch = Watch({"--mapped", "DefaultGateway"});
  EXPECT_EQ("DefaultGateway: 10.0.0.1", WithoutTime(watch->WaitForLine()));
  Set("IPConfig", "Static Addr");
  EXPECT_EQ("DefaultGateway: 10.0.0.1 -> 10.0.0.3", WithoutTime(watch->WaitForLine()));
  Set("DefaultGateway_3", "10.0.0.4");
  EXPECT_EQ("DefaultGateway: 10.0.0.3 -> 10.0.0.4", WithoutTime(watch->WaitForLine()));
  RunConfigctl(_daemon->GetURI(), {"set", "DefaultGateway", "10.0.0.9", "--force"});
  Set("IPConfig", "Default Addr");
  EXPECT_EQ("DefaultGateway: 10.0.0.4 -> 10.0.0.1", WithoutTime(watch->WaitForLine()));
  _daemon->End(SIGKILL);
  watch->WaitForErrorLine("has gone away");
  Restart();
  EXPECT_EQ("DefaultGateway: 10.0.0.1 -> 0.0.0.0", WithoutTime(watch->WaitForLine()));
}

TEST_F(ConfigctlWatch, PrintsWhatIsOnlyAnnouncedWhenAsked) {
  const auto watch = Watch({"IPConfig", "IPAddress_3", "--all-events", "--json"});
  json first = json::parse(watch->WaitForLine()).at("result");
  EXPECT_EQ("initial", first.at("event"));
  EXPECT_THAT(first.at("time").get<std::string>(), MatchesRegex("20.*T.*[.][0-9]{3}Z"));
  watch->WaitForLine("IPAddress_3");
  Set("IPConfig", "DHCP");
  json change = json::parse(watch->WaitForLine());
  change.at("result").erase("time");
  EXPECT_EQ(json::parse(R"({"ok": true, "command": "watch", "result": {"event": "change",
          "name": "IPConfig", "id": "0x32010000", "value": 1, "text": "DHCP",
          "before": {"value": 0, "text": "Default Addr"}}})"),
            change);
  // The address in use depends on it, although it is the same.
  EXPECT_THAT(watch->WaitForLine(), HasSubstr("\"name\":\"IPAddress_3\""));
  watch->Kill(SIGINT);
  EXPECT_EQ(0, watch->Wait());
}

// Registers first and looks at the values then: each line must continue the one before it.
TEST_F(ConfigctlWatch, LosesNoChangeWhileItStarts) {
  WirePeer peer(std::stoi(_daemon->GetPort()), 0);
  const auto watch = Watch({"IntervalTime"});
  // On from the factory value, as it may begin with that.
  for (uint32_t value = 11; value < 2000; ++value) {
    peer.Send(ParamRequest(81, kIntervalTime, value));
  }
  // So that it sees a change also when it started late.
  std::string value = WithoutTime(watch->WaitForLine("IntervalTime: ")).substr(14);
  peer.Send(ParamRequest(81, kIntervalTime, kHighestIntervalTime));
  while (value != "86400 s") {
    const std::string line = WithoutTime(watch->WaitForLine());
    const std::size_t arrow = line.find(" -> ");
    ASSERT_NE(std::string::npos, arrow) << line;
    ASSERT_EQ("IntervalTime: " + value, line.substr(0, arrow));
    const std::string next = line.substr(arrow + 4);
    const int step = std::stoi(next) - std::stoi(value);
    EXPECT_TRUE(step == 1 || next == "86400 s") << line;
    value = next;
  }
}

TEST_F(ConfigctlWatch, ReconnectsToADaemonThatWasKilledAndTellsWhatChangedMeanwhile) {
  const auto watch = Watch({"IPConfig", "SysName"});
  watch->WaitForLine("SysName");
  Set("IPConfig", "DHCP");
  watch->WaitForLine("-> DHCP (1)");
  const std::string uri = _daemon->GetURI();
  _daemon->End(SIGKILL);
  EXPECT_EQ("configctl: " + uri + " has gone away; waiting for it to come back",
            watch->WaitForErrorLine());
  Restart();
  EXPECT_EQ("configctl: " + uri + " is back", watch->WaitForErrorLine());
  // It came back with its defaults.
  EXPECT_EQ("IPConfig: DHCP (1) -> Default Addr (0)", WithoutTime(watch->WaitForLine()));
  Set("SysName", "Edit 7");
  EXPECT_EQ("SysName: \"Vantor Rack\" -> \"Edit 7\"", WithoutTime(watch->WaitForLine()));
}

// A daemon that stands still looks like one whose machine is gone.
TEST_F(ConfigctlWatch, NoticesADaemonThatStandsStill) {
  const auto watch = Watch({"IPConfig", "--timeout", "0.5", "--json"});
  watch->WaitForLine("initial");
  _daemon->GetProcess().Kill(SIGSTOP);
  EXPECT_THAT(watch->WaitForLine(), HasSubstr("\"event\":\"lost\""));
  _daemon->GetProcess().Kill(SIGCONT);
  EXPECT_THAT(watch->WaitForLine(), HasSubstr("\"event\":\"back\""));
  Set("IPConfig", "DHCP");
  watch->WaitForLine("\"text\":\"DHCP\"");
}

TEST_F(ConfigctlWatch, HearsWhatIsChangedOverUdpAndNoticesWhatItMissed) {
  // All watches of a device hear each other's daemons: a configuration of this test's own.
  const auto config = static_cast<uint32_t>(::getpid()) + 1000000;
  const std::string number = std::to_string(config);
  const std::string udp = "udp://127.0.0.1:" + _daemon->GetPort();
  const auto watch =
      StartConfigctl("multicast://127.0.0.1:63110/ask=" + _daemon->GetPort(),
                     {"watch", "IPConfig", "SysName", "MediaUpdated", "--config", number});
  watch->WaitForLine("MediaUpdated: ");
  const auto set = [&](const std::string& uri, const std::string& words) {
    EXPECT_EQ(0, RunConfigctl(uri, WordsOf("--config " + number + " set " + words)).status);
  };
  set(udp, "IPConfig DHCP");
  set(udp, "SysName 'Edit 7'");
  watch->WaitForLine("IPConfig: Default Addr (0) -> DHCP (1)");
  watch->WaitForLine("SysName: \"Vantor Rack\" -> \"Edit 7\"");
  // Not announced, and found when an announcement says that others went before it.
  set(_daemon->GetURI(), "IPConfig Default");
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in group = {};
  group.sin_family = AF_INET;
  group.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(0, ::bind(fd, reinterpret_cast<sockaddr*>(&group), sizeof group));
  group.sin_port = htons(63110);
  ::inet_pton(AF_INET, "239.81.69.76", &group.sin_addr);
  for (const uint32_t sequence : {1U, 5U}) {
    const std::array<uint32_t, 11> event = {144,           0, sequence, config, 0,   4096,
                                            kMediaUpdated, 0, sequence, 0,      3072};
    ::sendto(fd, event.data(), sizeof event, 0, reinterpret_cast<sockaddr*>(&group), sizeof group);
  }
  ::close(fd);
  EXPECT_EQ(
      "configctl: 3 changes were missed, perhaps of other configurations; reading all values "
      "again",
      watch->WaitForErrorLine());
  watch->WaitForLine("IPConfig: DHCP (1) -> Default Addr (0)");
}

TEST_F(ConfigctlWatch, SaysWhatItCannotReadAndEndsWhenThatIsAll) {
  _daemon = std::make_unique<Daemon>(Process::Words{}, Process::Words{"LIBCONFIG_PRODUCT=crandle"});
  const std::string unread = "configctl: " + _daemon->GetURI() +
                             " has no value for WiFiSSID; it may be another model of the recorder";
  const auto watch = Watch({"WiFiSSID", "IPConfig"});
  watch->WaitForLine("IPConfig: Default Addr (0)");
  EXPECT_EQ(unread, watch->WaitForErrorLine());
  Set("IPConfig", "DHCP");
  watch->WaitForLine("-> DHCP (1)");
  const auto idle = Watch({"WiFiSSID"});
  EXPECT_EQ(1, idle->Wait());
  EXPECT_EQ(unread + "\n", idle->GetErrors());
}

TEST_F(ConfigctlWatch, EndsWithItsReader) {
  const auto watch = Watch({"IPConfig"});
  watch->WaitForLine("IPConfig");
  watch->CloseOutput();
  EXPECT_EQ(0, watch->Wait());
  EXPECT_EQ("", watch->GetErrors());
}
