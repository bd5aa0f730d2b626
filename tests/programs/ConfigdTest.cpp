// configd as the service manager, a technician and its peers see it.
#include <sys/un.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "tests/programs/Programs.h"
#include "tests/testing/Names.h"
#include "tests/testing/Wire.h"

namespace {

constexpr uint32_t kIPConfig = 0x32010000;

Outcome RunConfigd(const Process::Words& arguments) {
  Process::Words command = {CONFIGD_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  Process process(command);
  const int status = process.Wait();
  return {status, process.GetOutput(), process.GetErrors()};
}

std::string ReadFile(const std::string& name) {
  std::ifstream file(std::string(SOURCE_FOLDER) + "/" + name);
  EXPECT_TRUE(file.is_open()) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

// A number of /proc/PID/status, such as VmRSS in KiB.
long StatusOf(const Process& process, const std::string& name) {
  std::ifstream file("/proc/" + std::to_string(process.GetPid()) + "/status");
  std::string word;
  while (file >> word && word != name + ":") {
  }
  long number = -1;
  file >> number;
  return number;
}

}  // namespace

TEST(Configd, SaysWhereItServesAndWhatToTry) {
  Process daemon({CONFIGD_PATH, "--port", "0", "--no-queue"});
  EXPECT_THAT(daemon.WaitForLine(), MatchesRegex("configd [0-9.]+"));
  const std::string tcp = daemon.WaitForLine();
  EXPECT_THAT(tcp, MatchesRegex("configd: serving tcp://127.0.0.1:[0-9]+"));
  const std::string port = tcp.substr(tcp.rfind(':') + 1);
  EXPECT_EQ("configd: serving udp://127.0.0.1:" + port, daemon.WaitForLine());
  EXPECT_EQ(
      "configd: settings are forgotten when it ends; give it a folder with --state DIR to keep "
      "them",
      daemon.WaitForLine());
  EXPECT_EQ("configd: ready", daemon.WaitForLine());
  EXPECT_EQ("configd: try these in another terminal:", daemon.WaitForLine());
  for (const char* const command : {"watch --initial", "set IPConfig DHCP", "get IPConfig"}) {
    EXPECT_THAT(daemon.WaitForLine(),
                MatchesRegex("  .*configctl --uri tcp://127.0.0.1:" + port + " " + command));
  }
  daemon.Kill(SIGTERM);
  EXPECT_EQ(0, daemon.Wait());
  EXPECT_EQ("", daemon.GetErrors());
}

TEST(Configd, PrintsEachChangeAndWhoMadeIt) {
  Daemon daemon;
  ASSERT_EQ(0, RunConfigctl(daemon.GetURI(), {"set", "IPConfig", "DHCP"}).status);
  // The system knows an emulated process by its emulator's name.
  const std::string who = testing_support::Emulator() == nullptr ? "configctl" : "qemu-ppc";
  // And lists sockets in the host's byte order.
  const std::string known =
      testing_support::Emulator() == nullptr ? "\\) at " : ", as it claims\\), ";
  EXPECT_THAT(daemon.GetProcess().WaitForLine("IPConfig: "),
              MatchesRegex("[0-9-]+ [0-9:.]+  IPConfig: Default Addr \\(0\\) -> DHCP \\(1\\)  by " +
                           who + " \\(process [0-9]+" + known + "127.0.0.1:[0-9]+"));
  ASSERT_EQ(0, RunConfigctl(daemon.GetURI(), {"set", "SystemPassword", "hunter2"}).status);
  EXPECT_THAT(daemon.GetProcess().WaitForLine("SystemPassword: "),
              HasSubstr("SystemPassword: \"********\" -> \"********\"  by "));
}

TEST(Configd, RefusesWhatItCannotDoInOneLine) {
  Daemon daemon;
  EXPECT_EQ((Outcome{1, "",
                     "configd: cannot serve " + daemon.GetURI() +
                         ": Address already in use; stop the other server, or choose another port "
                         "with --port\n"}),
            RunConfigd({"--port", daemon.GetPort(), "--no-queue"}));
  for (const Process::Words& wrong : {Process::Words{"--port", "65536"},
                                      {"--listen", "here"},
                                      {"--bogus"},
                                      {"extra"},
                                      {"--queue", "corewheel"},
                                      {"--queue", "/corewheel", "--no-queue"},
                                      {"--quiet", "--log-changes"}}) {
    const Outcome outcome = RunConfigd(wrong);
    EXPECT_EQ(2, outcome.status) << wrong[0];
    EXPECT_THAT(outcome.err, MatchesRegex("configd: [^\n]*; see configd --help\n"));
    EXPECT_EQ("", outcome.out);
  }
  EXPECT_THAT(RunConfigd({"--help"}).out, HasSubstr("--listen"));
}

TEST(Configd, EndsWhenItIsToldToWhateverItsPeersDo) {
  for (const int signal : {SIGTERM, SIGINT}) {
    Daemon daemon;
    const int port = std::stoi(daemon.GetPort());
    std::vector<std::unique_ptr<WirePeer>> peers;
    for (uint32_t i = 0; i < 20; ++i) {
      peers.push_back(std::make_unique<WirePeer>(port, i % 3));
      peers.back()->Send(ListenerRequest(48));
    }
    // Half a record from each; and changes that nobody reads.
    for (const auto& peer : peers) peer->Send(Bytes(3));
    WirePeer setter(port, 0);
    for (uint32_t i = 0; i < 5000; ++i) setter.Send(ParamRequest(81, kIPConfig, i % 3));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(0, daemon.End(signal));
    // Far less than any of its peers' time-outs.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
  }
}

TEST(Configd, TellsTheServiceManager) {
  // An abstract name, which leaves no file behind.
  const std::string name = "configd_test_" + std::to_string(::getpid());
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  name.copy(address.sun_path + 1, sizeof address.sun_path - 2);
  const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(0, ::bind(fd, reinterpret_cast<sockaddr*>(&address),
                      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size())));
  const auto told = [fd] {
    char text[256];
    pollfd wanted = {fd, POLLIN, 0};
    const ssize_t count = ::poll(&wanted, 1, 60000) == 1 ? ::recv(fd, text, sizeof text, 0) : 0;
    return std::string(text, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  };
  Daemon daemon({}, {"NOTIFY_SOCKET=@" + name, "WATCHDOG_USEC=600000"});
  EXPECT_EQ("READY=1", told());
  for (int i = 0; i < 3; ++i) EXPECT_EQ("WATCHDOG=1", told());
  daemon.GetProcess().Kill(SIGTERM);
  EXPECT_EQ("STOPPING=1", told());
  EXPECT_EQ(0, daemon.Wait());
  ::close(fd);
}

// Whoever started it closed them: a peer's connection must not come to be there.
TEST(Configd, WritesNoLineWhereAPeerIs) {
  if (Emulator() != nullptr) GTEST_SKIP() << "the shell is not emulated";
  const Process daemon({"/bin/sh", "-c", "exec " CONFIGD_PATH " --port 0 --no-queue >&- 2>&-"});
  const std::string descriptors = "/proc/" + std::to_string(daemon.GetPid()) + "/fd/";
  std::error_code gone;
  for (const char* const output : {"1", "2"}) {
    EXPECT_TRUE(Eventually(
        [&] { return std::filesystem::read_symlink(descriptors + output, gone) == "/dev/null"; }));
  }
}

TEST(Configd, LeavesUdpAloneAndPrintsNoChangesWhenToldTo) {
  Daemon daemon({"--no-udp", "--quiet"});
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(std::stoi(daemon.GetPort())));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(0, ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
  ::close(fd);
  EXPECT_EQ(0, RunConfigctl(daemon.GetURI(), {"set", "IPConfig", "DHCP"}).status);
  EXPECT_EQ(0, daemon.End(SIGTERM));
  EXPECT_THAT(daemon.GetOutput(), Not(HasSubstr("DHCP (1)")));
}

// Word for word what every parameter is, on any host: who changes it, changes it knowingly.
TEST(ParameterReference, IsWhatTheCatalogueHolds) {
  Process reference({REFERENCE_PATH}, {"LIBCONFIG_PRODUCT=quarn"});
  EXPECT_EQ(0, reference.Wait());
  EXPECT_TRUE(ReadFile("docs/parameters.md") == reference.GetOutput())
      << "run ./dev docs, and look at what it changes";
}

TEST(Example, IsTheReadmesAndWorks) {
  EXPECT_THAT(ReadFile("README.md"),
              HasSubstr("```cpp\n" + ReadFile("examples/watch_and_set.cpp") + "```\n"));
  Daemon daemon;
  Process example({WATCH_AND_SET_PATH, daemon.GetURI()});
  EXPECT_EQ(0, example.Wait());
  EXPECT_THAT(example.GetOutput(), HasSubstr("IP Config is 0\nIP Config is now 1\n"));
  EXPECT_EQ("", example.GetErrors());
}

TEST(Example, ServesAStoreThatOthersCacheAndFollowAcrossItsRestart) {
  auto server = std::make_unique<Process>(Process::Words{SERVE_STORE_PATH, "0"});
  const std::string uri = server->WaitForLine().substr(std::strlen("serving "));
  Process loop({EVENT_LOOP_PATH, uri});
  EXPECT_EQ("connected, IP Config is 0", loop.WaitForLine());
  EXPECT_EQ(0, RunConfigctl(uri, {"set", "SysName", "studio"}).status);
  EXPECT_THAT(loop.WaitForLine(": studio"), HasSubstr(": studio"));
  Process cached({CACHED_CLIENT_PATH, uri});
  EXPECT_EQ(0, cached.Wait());
  EXPECT_THAT(cached.GetOutput(), HasSubstr("second time: 207 settings"));

  const std::string port = uri.substr(uri.rfind(':') + 1);
  Process second({SERVE_STORE_PATH, port});
  EXPECT_EQ(1, second.Wait());
  EXPECT_EQ("cannot serve the port: Address already in use\n", second.GetErrors());
  server->Kill(SIGTERM);
  EXPECT_EQ(0, server->Wait());
  EXPECT_EQ("disconnected", loop.WaitForLine());
  server = std::make_unique<Process>(Process::Words{SERVE_STORE_PATH, port});
  EXPECT_EQ("connected, IP Config is 0", loop.WaitForLine());
}

TEST(Example, RefusesByAPrecondition) {
  Process example({PRECONDITION_PATH});
  EXPECT_EQ(0, example.Wait());
  EXPECT_EQ("recording: refused\nidle: set\n", example.GetOutput());
}

// What it takes of a small device: memory, and threads for its peers.
TEST(Footprint, OfTheDaemonIsSmallAndGrowsByOneThreadAPeer) {
  if (Emulator() != nullptr) {
    GTEST_SKIP() << "memory and threads would be those of the emulator";
  }
  // Measured may be another build of it than the tests'.
  const char* const other = std::getenv("TEST_CONFIGD");
  Process daemon({other != nullptr ? other : CONFIGD_PATH, "--port", "0", "--no-queue"});
  const std::string line = daemon.WaitForLine("tcp://");
  daemon.WaitForLine("configd: ready");
  const int port = std::stoi(line.substr(line.rfind(':') + 1));
  WirePeer reader(port, 0);
  EXPECT_EQ(0U, reader.Get(0x32010000)) << "so that there is a store";
  const long memory = StatusOf(daemon, "VmRSS");
  const long idle = StatusOf(daemon, "Threads") - 1;
  std::vector<std::unique_ptr<WirePeer>> peers;
  for (int i = 1; i < 10; ++i) {
    peers.push_back(std::make_unique<WirePeer>(port, 0));
    peers.back()->Listen();
  }
  const long busy = StatusOf(daemon, "Threads");
  std::cout << "configd: " << memory << " KiB resident with one store, " << idle
            << " threads idle, " << busy << " with ten peers, then " << StatusOf(daemon, "VmRSS")
            << " KiB\n";
  EXPECT_EQ(idle + 10, busy);
  EXPECT_LT(0, memory);
}
