// What a datagram server says to peers that speak the protocol, and to those that do not.
#include <sys/fsuid.h>
#include <unistd.h>

#include <numeric>

#include "libconfig/network/AnswerBudget.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Golden.h"
#include "tests/testing/Names.h"
#include "tests/testing/TestServer.h"
#include "tests/testing/Wire.h"

using qel::vorlane::config::access::AnswerBudget;

namespace {

constexpr uint32_t kPeer = 0x00077777;
constexpr int kNoAnswerMs = 100;

uint32_t g_request = 100;

Bytes Connection(uint32_t type, uint32_t config, uint32_t peer = kPeer) {
  return Words({type, peer, ++g_request, config, 3, 7});
}

Bytes Request(uint32_t type, uint32_t config, uint32_t param, uint32_t value = 0,
              uint32_t length = 0) {
  return Words({type, kPeer, ++g_request, config, 3, 7, param, value, length, 3072});
}

// Configuration numbers of this process, as all processes of a device hear each other's multicasts.
uint32_t Own(uint32_t number) { return static_cast<uint32_t>(::getpid()) % 100000 * 100 + number; }

// An address of this machine that is not the loopback's; empty when there is none.
std::string OwnAddress() {
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = AddressOf(0xCB007101, 9);
  socklen_t length = sizeof address;
  auto* const own = reinterpret_cast<sockaddr*>(&address);
  const bool isThere = ::connect(fd, own, length) == 0 && ::getsockname(fd, own, &length) == 0;
  ::close(fd);
  return isThere ? ::inet_ntoa(address.sin_addr) : "";
}

class UdpServer : public testing::Test {
 protected:
  uint32_t Get(uint32_t config, uint32_t param) {
    _peer.Send(Request(80, config, param));
    // Behind the answers to whatever was sent before.
    for (;;) {
      const auto answer = _peer.Record(kNoAnswerMs * 50);
      if (answer.empty()) return 0xDEADDEAD;
      if (answer.size() == 11 && answer[2] == g_request) return answer[8];
    }
  }

  void Connect(uint32_t config, uint32_t peer = kPeer) {
    _peer.Send(Connection(16, config, peer));
    ASSERT_EQ(11U, _peer.Record().size());
  }

  void Disconnect(uint32_t config, uint32_t peer = kPeer) {
    _peer.Send(Connection(17, config, peer));
    ASSERT_EQ(7U, _peer.Record().size());
  }

  bool IsAnswered(uint32_t config) {
    _peer.Send(Request(80, config, eParamID_IPConfig));
    return !_peer.Receive(kNoAnswerMs).empty();
  }

  TestServer _server{SOCK_DGRAM};
  Datagrams _peer{_server.GetPort()};
};

}  // namespace

TEST_F(UdpServer, AnswersEachRequestWithItsRecordAndAnnouncesTheChanges) {
  const uint32_t config = Own(1);
  const Golden golden({{"id", kPeer}, {"config", config}, {"sequence", 0}});
  Datagrams group("239.81.69.76", 63110);
  for (const auto& message : golden.GetExchange("udp")) {
    if (message.fromClient) {
      // What comes in the other byte order is nothing.
      _peer.Send(message.ToBytes(kOtherOrder));
      _peer.Send(message.ToBytes());
    } else {
      ASSERT_EQ(message.ToHex(), Hex(_peer.Receive()));
    }
  }
  EXPECT_FALSE(IsAnswered(config));
  for (const auto& message : golden.GetExchange("multicast")) {
    EXPECT_EQ(message.ToHex(), Hex(group.ReceiveEvent(config)));
  }
}

TEST_F(UdpServer, DropsWhatIsNoWholeRequest) {
  const uint32_t config = Own(2);
  Connect(config);
  CaptureStderr();
  Bytes pattern(64);
  std::iota(pattern.begin(), pattern.end(), '\x01');
  for (const uint32_t type :
       {0U, 16U, 17U, 48U, 49U, 80U, 81U, 96U, 112U, 113U, 114U, 0xFFFFFFFFU}) {
    for (std::size_t length = 0; length <= 64; ++length) {
      Bytes datagram = Words({type}) + pattern;
      datagram.resize(length);
      _peer.Send(datagram);
    }
    // Before the next burst, lest the system drops what nobody takes in time.
    EXPECT_EQ(0U, Get(config, eParamID_IPConfig));
  }
  // Lengths that lie, and values that are none.
  const Bytes text = StringValueBytes(eParamID_SysName, "overlong");
  const auto size = static_cast<uint32_t>(text.size());
  for (const uint32_t length : {0U, size + 1, 8192U, 0x7FFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFD8U}) {
    _peer.Send(Request(113, config, eParamID_SysName, 0, length) + text);
  }
  _peer.Send(Request(113, config, eParamID_SysName, 0, size - 1) + text);  // without its zero
  _peer.Send(Request(113, config, eParamID_SysName, 0, 4) + BigWord(4711));
  _peer.Send(Request(113, config, eParamID_SysName, 0, 4) + BigWord(1));
  // Full requests of other configurations among the patterns were not answered either.
  EXPECT_EQ(0U, Get(config, eParamID_IPConfig));
  const std::string report = GetCapturedStderr();
  EXPECT_THAT(report, HasSubstr("NetworkUDPConnection::ProcessDatagramMessages - "
                                "insufficient message length\n"));
  EXPECT_THAT(report, HasSubstr("NetworkUDPConnection::ProcessDatagramMessages - Unknown "
                                "message type \"N/A\" (0xFFFFFFFF )\n"));
  EXPECT_THAT(report, HasSubstr("NetworkUDPConnection::ProcessSetStreamMessage - invalid "
                                "streamLength\n"));
  Store store(config);
  std::string name;
  EXPECT_EQ(1, store->Get(eParamID_SysName, name));
  EXPECT_EQ("Vantor Rack", name);
}

TEST_F(UdpServer, HoldsAStoreUntilTheLastOfItsPeersLeaves) {
  const uint32_t config = Own(3);
  Connect(config);
  Connect(config);  // the same peer is no second use
  Connect(config, kPeer + 1);
  _peer.Send(Request(81, config, eParamID_MediaUpdated, 5));
  _peer.Record();
  Disconnect(config);
  Disconnect(config);
  EXPECT_EQ(5U, Get(config, eParamID_MediaUpdated));
  // Another one that gives itself the same number is another peer.
  Datagrams other(_server.GetPort());
  other.Send(Connection(16, config, kPeer + 1));
  EXPECT_EQ(11U, other.Record().size());
  Disconnect(config, kPeer + 1);
  EXPECT_TRUE(IsAnswered(config));
  other.Send(Connection(17, config, kPeer + 1));
  EXPECT_EQ(7U, other.Record().size());
  EXPECT_FALSE(IsAnswered(config));
  // A store of its own again.
  Connect(config);
  EXPECT_EQ(0U, Get(config, eParamID_MediaUpdated));
  Disconnect(config);
}

TEST_F(UdpServer, SurvivesAStoreThatOthersLetGo) {
  const uint32_t config = Own(4);
  TestServer streams;
  Connect(config);
  {
    WirePeer other(streams.GetPort(), config);
    Disconnect(config);
    // Somebody keeps the store, so that it can still be asked.
    EXPECT_EQ(0U, Get(config, eParamID_IPConfig));
    Disconnect(config);
    EXPECT_TRUE(IsAnswered(config));
  }
  EXPECT_TRUE(Eventually([&] { return !IsAnswered(config); }));
  EXPECT_FALSE(IsAnswered(config));
}

TEST_F(UdpServer, RefusesNobodyForWantOfRoom) {
  const auto config = [](uint32_t i) { return Own(10) * 100 + i; };
  Connect(0);
  for (uint32_t i = 1; i < 64; ++i) Connect(config(i));
  EXPECT_TRUE(IsAnswered(config(1)));
  // The second makes room, as it was asked for least recently; the default one never does.
  Connect(Own(5));
  EXPECT_FALSE(IsAnswered(config(2)));
  for (const uint32_t kept : {0U, config(1), config(3)}) EXPECT_TRUE(IsAnswered(kept));
  // The first of these is forgotten, and served all the same when the others have left.
  for (uint32_t i = 0; i <= 1024; ++i) Connect(Own(5), kPeer + i);
  for (uint32_t i = 1; i <= 1024; ++i) Disconnect(Own(5), kPeer + i);
  EXPECT_TRUE(IsAnswered(Own(5)));
}

// By a listener of this process that does not return.
TEST_F(UdpServer, TellsHowLongItHasBeenAtWorkOnOneDatagram) {
  const uint32_t config = Own(8);
  Connect(config);
  Store store(config);
  std::atomic<bool> go{false};
  ActingListener slow([&] { EXPECT_TRUE(Eventually([&] { return go.load(); })); });
  store->AddConfigEventListener(&slow);
  _peer.Send(Request(81, config, eParamID_MediaUpdated, 5));
  EXPECT_TRUE(Eventually([&] { return _server.GetBusyTime() >= std::chrono::milliseconds(20); }));
  go = true;
  EXPECT_TRUE(slow.WaitUntilDone());
  store->RemoveConfigEventListener(&slow);
  EXPECT_TRUE(Eventually([&] { return _server.GetBusyTime().count() == 0; }));
}

TEST_F(UdpServer, LetsNoPeerEvictAnothersConfigurations) {
  Datagrams other(_server.GetPort());
  const auto connect = [](Datagrams& peer, uint32_t config) {
    peer.Send(Connection(16, config));
    return peer.Record().size() == 11;
  };
  const auto config = [](uint32_t i) { return Own(20) * 100 + i; };
  // Of the same user, who is given no more than another socket's, and of another user.
  EXPECT_TRUE(connect(other, Own(21)));
  for (uint32_t i = 0; i < 70; ++i) Connect(config(i));
  EXPECT_TRUE(IsAnswered(Own(21)));
  if (::geteuid() != 0) GTEST_SKIP() << "only root may act for several users";
  ::setfsuid(65534);
  Datagrams stranger(_server.GetPort());
  ::setfsuid(0);
  for (uint32_t i = 0; i < 70; ++i) EXPECT_TRUE(connect(stranger, config(100 + i)));
  for (const uint32_t kept : {config(69), config(60)}) EXPECT_TRUE(IsAnswered(kept));
  for (uint32_t i = 0; i < 32; ++i) Connect(config(200 + i));
  EXPECT_TRUE(IsAnswered(config(169)));
}

// Whose address is anybody's claim.
TEST(AnswerBudget, LetsAnswersToAnAddressExceedTheRequestsByAFewKilobytesASecond) {
  AnswerBudget budget;
  auto now = AnswerBudget::Clock::now();
  const auto flood = [&](uint32_t address) {
    std::size_t surplus = 0;
    while (budget.Spend(address, 40, 8192, now)) surplus += 8192 - 40;
    return surplus;
  };
  EXPECT_LE(flood(1), 65536U);
  EXPECT_TRUE(budget.Spend(1, 44, 44, now));
  EXPECT_FALSE(budget.Spend(1, 24, 8192, now));
  EXPECT_GT(flood(2), 50000U) << "another address";
  now += std::chrono::seconds(2);
  EXPECT_LE(flood(1), 49152U);
  // Many addresses at once share what is left, until the first have recovered.
  for (uint32_t i = 3; i < 400; ++i) flood(i);
  EXPECT_EQ(0U, flood(400));
  now += std::chrono::seconds(5);
  EXPECT_GT(flood(401), 50000U);

  // The same of a server that is reached at another address than the loopback's.
  const std::string host = OwnAddress();
  if (host.empty()) GTEST_SKIP() << "no other address";
  const uint32_t config = Own(7);
  TestServer server(SOCK_DGRAM, host);
  Datagrams peer(host, host, server.GetPort());
  peer.Send(Connection(16, config));
  EXPECT_EQ(11U, peer.Record().size());
  Store store(config);
  store->Set(eParamID_SysName, std::string(8000, 'x'));
  for (int i = 0; i < 20; ++i) peer.Send(Request(112, config, eParamID_SysName));
  int answers = 0;
  while (!peer.Receive(kNoAnswerMs).empty()) ++answers;
  EXPECT_EQ(8, answers);
}

TEST_F(UdpServer, AnswersATextThatFitsInNoDatagram) {
  const uint32_t config = Own(9);
  Connect(config);
  Store store(config);
  const auto ask = [&](std::size_t length) {
    store->Set(eParamID_SysName, std::string(length, 'x'));
    _peer.Send(Request(112, config, eParamID_SysName));
    return _peer.Receive();
  };
  constexpr std::size_t kLongest = 8192 - 44 - 16 - 1;
  EXPECT_EQ(8192U, ask(kLongest).size());
  const auto answer = ToWords(ask(kLongest + 1));
  ASSERT_EQ(11U, answer.size());
  EXPECT_EQ(60U, answer[7]);
  EXPECT_EQ(0U, answer[9]);
}

TEST_F(UdpServer, MulticastsWhatIsChangedThroughIt) {
  const uint32_t config = Own(6);
  Datagrams group("239.81.69.76", 63110);
  Connect(config);
  TestServer streams;
  WirePeer other(streams.GetPort(), config);
  other.Send(ParamRequest(81, eParamID_MediaUpdated, 1));  // not announced
  other.Get(eParamID_MediaUpdated);
  uint32_t number = 0;
  for (const uint32_t value : {2U, 3U, 3U}) {
    _peer.Send(Request(81, config, eParamID_MediaUpdated, value));
    const auto event = ToWords(group.ReceiveEvent(config));
    ASSERT_EQ(11U, event.size());
    if (value == 2U) number = event.at(2);
    EXPECT_THAT(event, ElementsAre(144U, 0U, number++, config, 0U, 4096U,
                                   uint32_t(eParamID_MediaUpdated), 0U, value, 0U, 3072U));
  }
  // A text as the setter sent it, whatever stands behind it.
  const Bytes text = StringValueBytes(eParamID_SysName, "Edit 7");
  const auto size = static_cast<uint32_t>(text.size());
  _peer.Send(Request(113, config, eParamID_MediaUpdated, 0, size) + text +
             Bytes{'m', 'o', 'r', 'e'});
  const Bytes event = group.ReceiveEvent(config);
  ASSERT_LE(44U, event.size());
  EXPECT_THAT(ToWords(event, 11), ElementsAre(145U, 0U, 0U, config, 0U, 4096U,
                                              uint32_t(eParamID_SysName), 0U, 0U, size, 3072U));
  EXPECT_EQ(text, Bytes(event.begin() + 44, event.end()));
}
