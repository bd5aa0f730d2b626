// Clients over datagrams: those that ask, and those that hear the multicast events.
#include <ifaddrs.h>
#include <unistd.h>

#include "libconfig/network/NetworkFactory.h"
#include "libconfig/network/NetworkUDPClient.h"
#include "tests/testing/Names.h"
#include "tests/testing/PlayedServer.h"
#include "tests/testing/RecordingListener.h"
#include "tests/testing/TestServer.h"

using qel::vorlane::config::access::NetworkClient;
using qel::vorlane::config::access::NetworkFactory;
using qel::vorlane::config::access::NetworkUDPClient;

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

// Sends to the port that multicast listeners are bound to.
struct Announcer : Datagrams {
  // From the loopback interface to the group, from another one to itself.
  explicit Announcer(const std::string& from)
      : Datagrams(from, from == "127.0.0.1" ? "239.81.69.76" : from, 63110) {}
  void Number(uint32_t sequence, uint32_t config, uint32_t value) {
    Send(Words({144, 0, sequence, config, 0, 4096, eParamID_MediaUpdated, 0, value, 0, 3072}));
  }
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
  PlayedServer server([](PlayedPeer&) {}, 1, SOCK_DGRAM);
  const auto client = Connect(server.GetURI());
  ASSERT_NE(nullptr, client);
  server.WaitUntilPlayed();
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
  PlayedServer server([](PlayedPeer& peer) { EXPECT_EQ(17U, peer.Record(6).at(0)); }, 1,
                      SOCK_DGRAM);
  Connect(server.GetURI());
}

TEST(UdpClient, NeverTakesALateAnswerForTheNext) {
  const auto play = [](PlayedPeer& peer) {
    const auto late = peer.Request();  // a Set, which is left without an answer in time
    const auto request = peer.Request();
    peer.Answer(late);
    peer.Answer(request, 7);
    peer.AnswerText(peer.Request(), "right", 112);
    // Says that more bytes follow than it sends.
    peer.Send(PlayedPeer::AnswerBytes(peer.Request(), 112, 0, 0, 4000));
  };
  PlayedServer server(play, 1, SOCK_DGRAM);
  const auto client = Connect(server.GetURI());
  ASSERT_NE(nullptr, client);
  CaptureStderr();
  EXPECT_EQ(0, client->Set(eParamID_IPConfig, 1U));  // after six seconds
  EXPECT_EQ(7U, client->Get(eParamID_MediaUpdated));
  std::string text;
  EXPECT_EQ(1, client->Get(eParamID_SysName, text));
  EXPECT_EQ(0, client->Get(eParamID_SysName, text));
  EXPECT_EQ("right", text);
  server.WaitUntilPlayed();
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("NetworkUDPClient::Get - invalid streamLength (PID:" +
                                             std::to_string(::getpid()) + ")\n"));
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
  announcer.Send(Words({144, 0, 2, config}));
  announcer.Send(Words({145, 0, 0, config, 0, 4096, eParamID_SysName, 0, 0, 0xFFFFFFFF, 3072}));
  announcer.Number(2, config, 6);
  EXPECT_TRUE(listener.WaitFor(eParamID_MediaUpdated, "6"));
  EXPECT_THAT(listener.GetValues(eParamID_MediaUpdated), ElementsAre("1", "3", "4", "5", "6"));
  EXPECT_THAT(listener.GetValues(eParamID_SysName), IsEmpty());
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
