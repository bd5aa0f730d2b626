#include "libconfig/network/Socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "libconfig/network/Url.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"
#include "tests/testing/Wire.h"

namespace {

// A library socket connected to a plain one.
struct Connection {
  Connection() {
    EXPECT_EQ(1, socket.create());
    EXPECT_EQ(1, socket.connect("127.0.0.1", listener.GetPort()));
    other = std::make_unique<Wire>(listener.Accept());
  }
  WireListener listener;
  Socket socket{AF_INET, SOCK_STREAM};
  std::unique_ptr<Wire> other;
};

}  // namespace

TEST(Socket, DoesNothingBeforeItIsCreatedOrAfterItIsClosed) {
  Socket socket(AF_INET, SOCK_STREAM);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(-1, socket.close());
    CaptureStderr();
    EXPECT_EQ(0, socket.bind(0) + socket.listen() + socket.connect("127.0.0.1", 1) +
                     socket.read_select(1));
    EXPECT_EQ("Socket::bind: invalid socketnSocket::read_select - invalid socket\n",
              GetCapturedStderr());
    ASSERT_EQ(1, socket.create());
    EXPECT_EQ(0, socket.close());
  }
}

// A wrapped number would reach somebody else's port.
TEST(Socket, RefusesWhatIsNoPortOrNoAddress) {
  Connection pair;
  const int there = pair.listener.GetPort();
  for (const auto& [host, port] :
       std::vector<std::pair<std::string, int>>{{"127.0.0.1", 65536 + there},
                                                {"127.0.0.1", -65536 - there},
                                                {"127.0.0.1", 65536},
                                                {"127.0.0.1", -1},
                                                {"127.0.0.1", 0},
                                                {"recorder.example", there}}) {
    Socket socket(AF_INET, SOCK_STREAM);
    ASSERT_EQ(1, socket.create());
    CaptureStderr();
    EXPECT_EQ(0, socket.connect(host, port));
    EXPECT_THAT(GetCapturedStderr(), HasSubstr("Socket::connect_inet - connect() failed: "));
    if (port == 0) continue;
    CaptureStderr();
    EXPECT_EQ(0, socket.bind(host, port));
    EXPECT_THAT(GetCapturedStderr(), HasSubstr("Socket::bind_inet: "));
  }
}

// As the system may connect it by itself when nobody serves the port.
TEST(Socket, RefusesToBeItsOwnPeer) {
  for (const int type : {SOCK_STREAM, SOCK_DGRAM}) {
    Socket socket(AF_INET, type);
    ASSERT_EQ(1, socket.create());
    ASSERT_EQ(1, socket.bind("127.0.0.1", 0));
    CaptureStderr();
    EXPECT_EQ(0, socket.connect("127.0.0.1", socket.get_bound_port()));
    EXPECT_EQ("Socket::connect_inet - connect() failed: Connection refused\n", GetCapturedStderr());
    EXPECT_FALSE(socket.is_open());
  }
}

// Listeners with a full backlog that nobody serves any more.
TEST(Socket, WaitsForAPlaceInABacklogNoLongerThanForAnAnswer) {
  const int path = 3000000 + ::getpid();
  CaptureStderr();
  OnThreads(2, [path](unsigned thread) {
    const int family = thread == 0 ? AF_INET : AF_UNIX;
    Socket full(family, SOCK_STREAM);
    ASSERT_TRUE(full.create() && full.bind(family == AF_INET ? 0 : path));
    ASSERT_EQ(0, ::listen(full.descriptor(), 0));
    const int port = family == AF_INET ? full.get_bound_port() : path;
    Socket place(family, SOCK_STREAM);
    ASSERT_TRUE(place.create() && place.connect("127.0.0.1", port));
    Socket late(family, SOCK_STREAM);
    ASSERT_EQ(1, late.create());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(0, late.connect("127.0.0.1", port));
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, std::chrono::milliseconds(11900));
    EXPECT_LT(waited, std::chrono::seconds(30));
  });
  const std::string report = GetCapturedStderr();
  EXPECT_THAT(report, HasSubstr("Socket::connect_inet - connect() failed: Connection timed out\n"));
  EXPECT_THAT(report, HasSubstr("Socket::connect_local: Connection timed out\n"));
  ::unlink(("/tmp/qel_" + std::to_string(path)).c_str());
}

TEST(Socket, ReceivesMoreThanItWasAskedForWithoutOverrunningItsCaller) {
  Connection pair;
  // Three bytes first: recv then asks for all four again, and gets five more than it has room for.
  ASSERT_TRUE(pair.other->Send({'a', 'b', 'c'}));
  std::unique_ptr<char[]> room(new char[4]);
  std::atomic<int> count{-2};
  std::thread receiver([&] { count = pair.socket.recv(room.get(), 4); });
  // The receiver has to take the first piece alone.
  char byte;
  ASSERT_TRUE(Eventually(
      [&] { return ::recv(pair.socket.descriptor(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) == -1; }));
  ASSERT_TRUE(pair.other->Send({'d', 'e', 'f', 'g'}));
  receiver.join();
  EXPECT_EQ(7, count);
  EXPECT_EQ("abcd", std::string(room.get(), 4));
}

TEST(Socket, SendsAllOrTellsHowMuch) {
  Connection pair;
  Bytes bytes(3 * 1024 * 1024, 'x');
  int length = static_cast<int>(bytes.size());
  std::thread sender([&] { EXPECT_EQ(1, pair.socket.sendall(bytes.data(), &length)); });
  EXPECT_EQ(bytes.size(), pair.other->Receive(bytes.size()).size());
  sender.join();
  EXPECT_EQ(static_cast<int>(bytes.size()), length);
  length = 0;
  EXPECT_EQ(0, pair.socket.sendall(bytes.data(), &length));
}

TEST(Socket, KeepsItsNumberUntilNobodyIsInsideACall) {
  // Closing and reopening while others are inside must never hand them somebody else's socket.
  for (int round = 0; round < 200; ++round) {
    Connection pair;
    std::thread user([&] {
      char byte;
      while (pair.socket.recv_some(&byte, 1) > 0) {
      }
    });
    std::thread closer([&] { pair.socket.close(); });
    const int other = ::socket(AF_INET, SOCK_STREAM, 0);
    closer.join();
    user.join();
    ASSERT_NE(-1, ::fcntl(other, F_GETFD));
    ::close(other);
  }
}

TEST(LocalSocket, BindsToTheFileThatItsPortNumbersAndRemovesOnlyASocket) {
  const int port = 1000000 + ::getpid();
  const std::string path = "/tmp/qel_" + std::to_string(port);
  Socket socket(AF_UNIX, SOCK_STREAM);
  ASSERT_EQ(1, socket.create());
  {
    std::ofstream(path) << "somebody's notes";
    EXPECT_EQ(0, socket.bind(port));
    struct stat status;
    ASSERT_EQ(0, ::lstat(path.c_str(), &status));
    EXPECT_TRUE(S_ISREG(status.st_mode));
    ::unlink(path.c_str());
  }
  {
    Socket stale(AF_UNIX, SOCK_STREAM);
    ASSERT_EQ(1, stale.create());
    ASSERT_EQ(1, stale.bind(port));
  }
  CaptureStderr();
  EXPECT_EQ(1, socket.bind(port));
  EXPECT_EQ("Local path = " + path + "\n", GetCapturedStderr());
  ASSERT_EQ(1, socket.listen());
  Socket client(AF_UNIX, SOCK_STREAM);
  ASSERT_EQ(1, client.create());
  EXPECT_EQ(1, client.connect("", port));
  ::unlink(path.c_str());
}

TEST(Url, SplitsAtColonsAndSlashesIntoThreePartsOrNone) {
  const auto split = [](std::string uri) {
    const url::URL url = url::parse(uri);
    return url.scheme + "|" + url.host + "|" + url.port;
  };
  EXPECT_EQ("tcp|127.0.0.1|43110", split("tcp://127.0.0.1:43110"));
  EXPECT_EQ("socket|127.0.0.1|43110", split("socket://127.0.0.1:43110/caching=true"));
  const std::string host(300, '1');
  EXPECT_EQ("multicast|" + host + "|63110", split("multicast://" + host + ":63110"));
  for (auto [uri, parts] : {std::pair("tcp://127.0.0.1", "2"), {"tcp:", "1"}, {"", "0"}}) {
    CaptureStderr();
    EXPECT_EQ("||", split(uri));
    EXPECT_EQ(std::string("url::parse - unable to parse url, found ") + parts + " matches\n",
              GetCapturedStderr());
  }
}
