// Clients over datagrams: those that ask, and those that hear the multicast events.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/network/NetworkFactory.h"
#include "libconfig/network/NetworkUDPClient.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/TestServer.h"
#include "tests/testing/Wire.h"

using qel::vorlane::config::access::NetworkClient;
using qel::vorlane::config::access::NetworkFactory;
using qel::vorlane::config::access::NetworkUDPClient;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using testing_support::ActingListener;
using testing_support::Bytes;
using testing_support::Eventually;
using testing_support::RecordingListener;
using testing_support::StringValueBytes;
using testing_support::TestServer;
using testing_support::Words;
using testing_support::operator+;

namespace {

constexpr char kListen[] = "multicast://127.0.0.1:63110";

// Configuration numbers of this process, as all processes of a device hear each other's multicasts.
std::string Own(int number) {
  return "/configid=" + std::to_string(::getpid() % 100000 * 100 + number);
}

std::unique_ptr<NetworkUDPClient> Connect(const std::string& uri) {
  return std::unique_ptr<NetworkUDPClient>(
      dynamic_cast<NetworkUDPClient*>(NetworkFactory().Connect(uri)));
}

// Sends datagrams to the port that multicast listeners are bound to.
class Announcer {
 public:
  explicit Announcer(const char* from) : _fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    ::inet_pton(AF_INET, from, &address.sin_addr);
    EXPECT_EQ(0, ::bind(_fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    _to.sin_family = AF_INET;
    _to.sin_port = htons(63110);
    ::inet_pton(AF_INET, std::string(from).compare(0, 4, "127.") == 0 ? "239.81.69.76" : from,
                &_to.sin_addr);
  }
  ~Announcer() { ::close(_fd); }

  void Send(const Bytes& bytes) {
    ::sendto(_fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&_to), sizeof _to);
  }
  void Number(uint32_t sequence, uint32_t config, uint32_t value) {
    Send(Words(std::array<uint32_t, 11>{144, 0, sequence, config, 0, 4096, eParamID_MediaUpdated, 0,
                                        value, 0, 3072}));
  }

 private:
  const int _fd;
  sockaddr_in _to = {};
};

// The other end of a client's socket, played by the test.
class PlayedServer {
 public:
  PlayedServer() : _fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(0, ::bind(_fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    socklen_t length = sizeof address;
    ::getsockname(_fd, reinterpret_cast<sockaddr*>(&address), &length);
    _port = ntohs(address.sin_port);
  }
  ~PlayedServer() { Close(); }

  void Close() {
    if (_fd >= 0) ::close(_fd);
    _fd = -1;
  }
  std::string GetURI() const { return "udp://127.0.0.1:" + std::to_string(_port); }

  std::array<uint32_t, 10> Receive() {
    std::array<uint32_t, 10> request = {};
    socklen_t size = sizeof _from;
    ::recvfrom(_fd, request.data(), sizeof request, 0, reinterpret_cast<sockaddr*>(&_from), &size);
    return request;
  }
  void Send(const Bytes& bytes) {
    ::sendto(_fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&_from), sizeof _from);
  }
  void Answer(uint32_t type, const std::array<uint32_t, 10>& request, uint32_t value = 0,
              const Bytes& stream = {}) {
    Send(Words(std::array<uint32_t, 11>{type, request[1], request[2], request[3], 0, 4096,
                                        type == 32 ? 0 : request[6], 0, value,
                                        uint32_t(stream.size()), 3072}) +
         stream);
  }

 private:
  int _fd;
  int _port = 0;
  sockaddr_in _from = {};
};

uint32_t ConfigOf(NetworkClient& client) { return static_cast<uint32_t>(client.GetConfigID()); }

}  // namespace

TEST(UdpClient, KnowsWhetherANumberWasTaken) {
  TestServer server(SOCK_DGRAM);
  const auto client = Connect(server.GetURI() + Own(1));
  ASSERT_NE(nullptr, client);
  EXPECT_EQ(1, client->Set(eParamID_IPConfig, 1U));
  CaptureStderr();
  EXPECT_EQ(0, client->Set(eParamID_IPConfig, 77U));
  EXPECT_EQ("NetworkUDPClient::Set - response error:53\n", GetCapturedStderr());
  EXPECT_TRUE(client->ConfirmDisconnect());
}

TEST(UdpClient, FailsAtOnceWhenNobodyIsThere) {
  PlayedServer server;
  std::thread connected([&] { server.Answer(32, server.Receive()); });
  const auto client = Connect(server.GetURI());
  connected.join();
  ASSERT_NE(nullptr, client);
  server.Close();
  CaptureStderr();
  unsigned int number = 4;
  std::string text = "as it was";
  EXPECT_EQ(0, client->Set(eParamID_IPConfig, 1U));
  EXPECT_EQ(0, client->Get(eParamID_IPConfig, number));
  EXPECT_EQ(0, client->Get(eParamID_SysName, text));
  EXPECT_EQ(4U, number);
  EXPECT_EQ("as it was", text);
  EXPECT_THAT(GetCapturedStderr(),
              HasSubstr("NetworkUDPClient::Set - recvfrom failed: Connection refused\n"));
}

TEST(UdpClient, TakesLeaveOfItsServerHoweverItIsGivenBack) {
  PlayedServer server;
  std::thread answers([&] { server.Answer(32, server.Receive()); });
  auto client = Connect(server.GetURI());
  answers.join();
  client.reset();
  EXPECT_EQ(17U, server.Receive()[0]);
}

TEST(UdpClient, NeverTakesALateAnswerForTheNext) {
  PlayedServer server;
  std::thread play([&] {
    server.Answer(32, server.Receive());
    const auto late = server.Receive();  // a Set, which is left without an answer in time
    auto request = server.Receive();
    server.Answer(97, late);
    server.Answer(96, request, 7);
    request = server.Receive();
    server.Answer(112, request, 0, StringValueBytes(eParamID_SysName, "right"));
    // Says that more bytes follow than it sends.
    request = server.Receive();
    server.Send(Words(std::array<uint32_t, 11>{112, request[1], request[2], request[3], 0, 4096, 0,
                                               0, 0, 4000, 3072}));
  });
  const auto client = Connect(server.GetURI());
  ASSERT_NE(nullptr, client);
  CaptureStderr();
  EXPECT_EQ(0, client->Set(eParamID_IPConfig, 1U));  // after six seconds
  EXPECT_EQ(7U, client->Get(eParamID_MediaUpdated));
  std::string text;
  EXPECT_EQ(1, client->Get(eParamID_SysName, text));
  EXPECT_EQ(0, client->Get(eParamID_SysName, text));
  EXPECT_EQ("right", text);
  play.join();
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("NetworkUDPClient::Get - invalid streamLength (PID:" +
                                             std::to_string(::getpid()) + ")\n"));
}

TEST(UdpClient, HearsWhatIsChangedOverUdp) {
  TestServer server(SOCK_DGRAM);
  const auto client = Connect(server.GetURI() + Own(3));
  const auto other = Connect(server.GetURI() + Own(4));
  const auto ears = Connect(kListen + Own(3));
  RecordingListener listener;
  ASSERT_EQ(1, ears->AddConfigEventListener(&listener));
  for (unsigned i = 0; i < 100; ++i) {
    other->Set(eParamID_MediaUpdated, 1000 + i);
    client->Set(eParamID_MediaUpdated, i);
  }
  client->Set(eParamID_SysName, std::string("Edit 7"));
  EXPECT_TRUE(listener.WaitFor(eParamID_MediaUpdated, "99"));
  EXPECT_TRUE(listener.WaitFor(eParamID_SysName, "Edit 7"));
  EXPECT_EQ(100U, listener.GetValues(eParamID_MediaUpdated).size());
  EXPECT_EQ(0U, ears->GetMissedEvents());
  EXPECT_EQ(1, ears->RemoveConfigEventListener(&listener));
  EXPECT_EQ(0, ears->AddConfigEventListener(&listener));
}

TEST(UdpClient, CountsTheEventsThatItMissed) {
  const auto ears = Connect(kListen + Own(5));
  const uint32_t config = ConfigOf(*ears);
  RecordingListener listener;
  ASSERT_EQ(1, ears->AddConfigEventListener(&listener));
  Announcer announcer("127.0.0.1");
  announcer.Number(7, config, 1);
  announcer.Number(8, config + 1, 2);  // another configuration's, and counted all the same
  announcer.Number(12, config, 3);
  announcer.Number(0, config, 4);  // the server began anew
  announcer.Number(1, config, 5);
  // What is cut or lies is dropped.
  announcer.Send({});
  announcer.Send(Words(std::array<uint32_t, 4>{144, 0, 2, config}));
  announcer.Send(Words(std::array<uint32_t, 11>{145, 0, 0, config, 0, 4096, eParamID_SysName, 0, 0,
                                                0xFFFFFFFF, 3072}));
  announcer.Number(2, config, 6);
  EXPECT_TRUE(listener.WaitFor(eParamID_MediaUpdated, "6"));
  EXPECT_THAT(listener.GetValues(eParamID_MediaUpdated), ElementsAre("1", "3", "4", "5", "6"));
  EXPECT_THAT(listener.GetValues(eParamID_SysName), testing::IsEmpty());
  EXPECT_EQ(3U, ears->GetMissedEvents());
}

TEST(UdpClient, HearsNoStrangers) {
  ifaddrs* all = nullptr;
  ASSERT_EQ(0, ::getifaddrs(&all));
  char outside[INET_ADDRSTRLEN] = "";
  for (const ifaddrs* i = all; i != nullptr; i = i->ifa_next) {
    if (i->ifa_addr == nullptr || i->ifa_addr->sa_family != AF_INET) continue;
    const auto& address = reinterpret_cast<const sockaddr_in*>(i->ifa_addr)->sin_addr;
    if (ntohl(address.s_addr) >> 24 == 127) continue;
    ::inet_ntop(AF_INET, &address, outside, sizeof outside);
  }
  ::freeifaddrs(all);
  if (outside[0] == '\0') GTEST_SKIP() << "this machine has no address beside the loopback one";
  const auto ears = Connect(kListen + Own(6));
  RecordingListener listener;
  ASSERT_EQ(1, ears->AddConfigEventListener(&listener));
  Announcer(outside).Number(1, ConfigOf(*ears), 1);
  Announcer("127.0.0.1").Number(2, ConfigOf(*ears), 2);
  EXPECT_TRUE(listener.WaitFor(eParamID_MediaUpdated, "2"));
  EXPECT_THAT(listener.GetValues(eParamID_MediaUpdated), ElementsAre("2"));
}

TEST(UdpClient, MayBeHandedBackFromInsideAListenersCall) {
  TestServer server(SOCK_DGRAM);
  const auto setter = Connect(server.GetURI() + Own(7));
  for (int i = 0; i < 100; ++i) {
    Config* const ears = ConfigFactoryImpl::GetInstance()->Connect(kListen + Own(7));
    ActingListener listener(
        [&] { EXPECT_EQ(1, ConfigFactoryImpl::GetInstance()->Disconnect(ears)); });
    ASSERT_EQ(1, ears->AddConfigEventListener(&listener));
    // Numbers and texts come on threads of their own, and either may be first.
    if (i % 2 == 0) setter->Set(eParamID_SysName, "number " + std::to_string(i));
    setter->Set(eParamID_MediaUpdated, static_cast<unsigned>(i));
    setter->Set(eParamID_SysName, "text " + std::to_string(i));
    ASSERT_TRUE(listener.WaitUntilDone());
    EXPECT_EQ(0, ConfigFactoryImpl::GetInstance()->Disconnect(ears));
  }
}

TEST(UdpClient, IsMadeAndDestroyedUnderTraffic) {
  TestServer server(SOCK_DGRAM);
  std::atomic<bool> stop{false};
  std::thread traffic([&] {
    const auto setter = Connect(server.GetURI() + Own(8));
    for (unsigned i = 0; !stop; ++i) {
      setter->Set(eParamID_MediaUpdated, i);
      setter->Set(eParamID_SysName, std::to_string(i));
    }
  });
  RecordingListener listener;
  for (int i = 0; i < 500; ++i) {
    const auto ears = Connect(kListen + Own(8));
    ASSERT_EQ(1, ears->AddConfigEventListener(&listener));
    if (i % 4 == 0) {
      EXPECT_EQ(1, ears->RemoveConfigEventListener(&listener));
    }
    const auto asker = Connect(server.GetURI() + Own(8));
    ASSERT_NE(nullptr, asker);
  }
  stop = true;
  traffic.join();
}
