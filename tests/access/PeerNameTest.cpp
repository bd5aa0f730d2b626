// Who a peer is, as logs name it: no peer is believed, and no name can pass for another line.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "libconfig/access/PeerName.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"
#include "tests/testing/Process.h"

namespace fs = std::filesystem;
using qel::config::DescribePeer;

// The process number in a record is the peer's word; who has the socket is the kernel's.
TEST(PeerName, IsWhatTheKernelSays) {
  if (Emulator() != nullptr) GTEST_SKIP() << "the emulator lists sockets in the host's byte order";
  const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const name = reinterpret_cast<sockaddr*>(&address);
  ASSERT_EQ(0, ::bind(server, name, size));
  ASSERT_EQ(0, ::listen(server, 1));
  ASSERT_EQ(0, ::getsockname(server, name, &size));
  const int port = ntohs(address.sin_port);
  ASSERT_EQ(0, ::connect(client, name, size));
  ASSERT_EQ(0, ::getsockname(client, name, &size));
  const std::string place = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  const auto low = [](pid_t pid) { return static_cast<unsigned>(pid) & 0xFFFF; };
  EXPECT_THAT(DescribePeer(low(::getpid()), place, port),
              HasSubstr(" (process " + std::to_string(::getpid()) + ") at " + place));
  EXPECT_EQ("user " + std::to_string(::getuid()) + " at " + place,
            DescribePeer(low(::getppid()), place, port));
  EXPECT_EQ("192.0.2.7:4711", DescribePeer(low(::getpid()), "192.0.2.7:4711", port));
  EXPECT_THAT(DescribePeer(low(::getpid()), "", port),
              HasSubstr(", as it claims), a local socket"));
  // A socket for datagrams, or one that is connected elsewhere, may have the same address.
  for (const int other : {0, port + 1}) {
    EXPECT_THAT(DescribePeer(low(::getpid()), place, other),
                HasSubstr(", as it claims), " + place));
  }
  ::close(client);
  ::close(server);
}

TEST(PeerName, CannotPassForAnotherLine) {
  const Folder folder;
  const std::string path = folder / ("\n\x1b[2J" + std::string(100, 'n'));
  if (Emulator() != nullptr) GTEST_SKIP() << "the kernel knows an emulated process by another name";
  fs::copy_file("/bin/sleep", path);
  Process process({path, "60"});
  const auto name = [&] { return qel::config::ProgramOf(static_cast<unsigned>(process.GetPid())); };
  EXPECT_TRUE(Eventually([&] { return name() == "\\x0a\\x1b[2J" + std::string(53, 'n'); }));
  process.Kill(SIGKILL);
}
