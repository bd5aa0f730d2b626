// What configd takes of a small device: memory, and threads for its peers.
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "tests/testing/Names.h"
#include "tests/testing/Process.h"
#include "tests/testing/Wire.h"

namespace {

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

}  // namespace
