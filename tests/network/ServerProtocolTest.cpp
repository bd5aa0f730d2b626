// What a server says to peers that speak the protocol, byte by byte.
#include <numeric>

#include "libconfig/network/NetworkTCPConnection.h"
#include "libconfig/network/Outbox.h"
#include "libconfig/network/Socket.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Golden.h"
#include "tests/testing/Names.h"
#include "tests/testing/TestServer.h"
#include "tests/testing/Wire.h"
using qel::vorlane::config::access::NetworkTCPConnection;
using qel::vorlane::config::access::Outbox;

namespace {

constexpr uint32_t kPeer = 0x00077777;

}  // namespace

TEST(ServerProtocol, AnswersEachRequestWithItsRecordAndSendsEachChange) {
  TestServer server;
  Store store(11);
  const Golden golden({{"id", kPeer}, {"config", 11}});
  for (const char* const exchange : {"tcp-listen", "tcp"}) {
    WirePeer peer(server.GetPort());
    for (const auto& message : golden.GetExchange(exchange)) {
      const Bytes bytes = message.ToBytes();
      if (message.fromClient) {
        ASSERT_TRUE(peer.Send(bytes));
      } else {
        ASSERT_EQ(Hex(bytes), Hex(peer.Receive(bytes.size())));
      }
    }
    peer.CloseForWriting();
    EXPECT_TRUE(peer.IsClosedByPeer());
  }
  // What a request says of itself is repeated, whatever it is.
  WirePeer peer(server.GetPort(), 11);
  ASSERT_TRUE(peer.Send(Words({80, 1, 2, 3, 4, 5, 0x32010000, 6, 0, 0})));
  EXPECT_THAT(peer.Record(), ElementsAre(96U, 1U, 2U, 3U, 4U, 5U, 0x32010000U, 0U, 0U, 0U, 0U));
  peer.Close();
  EXPECT_TRUE(Eventually([&] { return store->GetUseCount() == 1; }));
}

TEST(ServerProtocol, SendsEachChangeToWhoeverAskedForAny) {
  TestServer server;
  Store store(12);
  WirePeer peer(server.GetPort(), 12);
  // One parameter is asked for, and every change comes.
  ASSERT_TRUE(peer.Send(ListenerRequest(48, eParamID_SysName)));
  peer.Get(eParamID_IPConfig);
  // The same value again is an event again.
  for (int i = 0; i < 2; ++i) {
    store->Set(eParamID_MediaUpdated, 1U);
    EXPECT_EQ(144U, peer.Record().at(0));
  }

  // After Remove nothing more comes, after Add it does, and only once each.
  ASSERT_TRUE(peer.Send(ListenerRequest(49)));
  EXPECT_EQ(65U, peer.Record(7).at(0));
  store->Set(eParamID_MediaUpdated, 0U);
  ASSERT_TRUE(peer.Send(ListenerRequest(48)));
  ASSERT_TRUE(peer.Send(ListenerRequest(48)));
  EXPECT_EQ(0U, peer.Get(eParamID_MediaUpdated));
  store->Set(eParamID_MediaUpdated, 1U);
  EXPECT_EQ(1U, peer.Record().at(8));
  EXPECT_EQ(1U, peer.Get(eParamID_MediaUpdated));
}

TEST(ServerProtocol, SurvivesEveryRequestBeforeConnect) {
  TestServer server;
  WirePeer peer(server.GetPort());
  const auto answer = [&](const Bytes& request, std::size_t words = 11) {
    EXPECT_TRUE(peer.Send(request));
    auto record = peer.Record(words);
    record.resize(11);
    return WordList{record[0], record[2], record[7], record[9]};  // with error and streamLength
  };
  EXPECT_EQ((WordList{96, 1, 107, 0}), answer(ParamRequest(80, eParamID_IPConfig, 0, 1)));
  EXPECT_EQ((WordList{128, 2, 107, 0}), answer(ParamRequest(112, eParamID_SysName, 0, 2)));
  ASSERT_TRUE(peer.Send(ParamRequest(81, eParamID_IPConfig, 1)));
  EXPECT_EQ((WordList{129, 3, 53, 0}), answer(SetStringRequest(eParamID_SysName, "nobody", 3)));
  ASSERT_TRUE(peer.Send(ListenerRequest(48)));
  EXPECT_EQ(65U, answer(ListenerRequest(49), 7)[0]);
  EXPECT_EQ(33U, answer(ConnectionRequest(17), 7)[0]);
  EXPECT_TRUE(peer.IsClosedByPeer());
}

TEST(ServerProtocol, LeavesTheFirstStoreCompletelyOnASecondConnect) {
  TestServer server;
  Store first(21);
  Store second(22);
  WirePeer peer(server.GetPort(), 21);
  const auto connect = [&](int number) {
    ASSERT_TRUE(peer.Send(ConnectionRequest(16, static_cast<uint32_t>(number))));
    EXPECT_EQ(32U, peer.Record(7).at(0));
  };
  peer.Listen();
  connect(22);
  EXPECT_EQ(1, first->GetUseCount());
  EXPECT_EQ(2, second->GetUseCount());
  first->Set(eParamID_MediaUpdated, 1U);
  second->Set(eParamID_MediaUpdated, 1U);
  EXPECT_EQ(1U, peer.Get(eParamID_MediaUpdated));  // and no event came before this answer
  peer.Listen();
  second->Set(eParamID_MediaUpdated, 0U);
  EXPECT_EQ(22U, peer.Record().at(3));
  // The same store once more is one use, and is still listened to.
  connect(22);
  EXPECT_EQ(2, second->GetUseCount());
  second->Set(eParamID_MediaUpdated, 1U);
  EXPECT_EQ(144U, peer.Record().at(0));
}

TEST(ServerProtocol, AnswersARefusedStringAndKeepsItsPlace) {
  TestServer server;
  WirePeer peer(server.GetPort(), 31);
  const auto refusal = [&](const Bytes& request) {
    EXPECT_TRUE(peer.Send(request));
    const auto answer = peer.Record();
    return answer.size() == 11 && answer[0] == 129 && answer[7] == 53 && answer[9] == 0;
  };
  // Of a class that nobody knows, of no class at all, cut, for no parameter, for a number.
  EXPECT_TRUE(refusal(ParamRequest(113, 0x32050000, 0, 1, 20) + Bytes(20, 'x')));
  EXPECT_TRUE(refusal(ParamRequest(113, 0x32050000, 0, 2, 3) + Bytes(3, 0)));
  Bytes cut = StringValueBytes(eParamID_SysName, "cut");
  cut.pop_back();
  EXPECT_TRUE(refusal(ParamRequest(113, 0x32050000, 0, 3, uint32_t(cut.size())) + cut));
  EXPECT_TRUE(refusal(SetStringRequest(0x01020304, "unknown")));
  EXPECT_TRUE(refusal(SetStringRequest(eParamID_IPConfig, "DHCP")));
  // A length of 0 is dropped without an answer; more than 64 KiB is read away.
  EXPECT_TRUE(peer.Send(ParamRequest(113, eParamID_SysName)));
  const std::string longest(65536 - 17, 'x');
  EXPECT_TRUE(peer.Send(SetStringRequest(eParamID_SysName, longest)));
  EXPECT_EQ(longest, peer.GetString(eParamID_SysName));
  constexpr uint32_t kTooMuch = 65536 + 1;
  EXPECT_TRUE(refusal(ParamRequest(113, eParamID_SysName, 0, 4, kTooMuch) + Bytes(kTooMuch, 1)));
  EXPECT_TRUE(peer.Send(SetStringRequest(eParamID_SysName, "still in place")));
  EXPECT_EQ("still in place", peer.GetString(eParamID_SysName));
}

TEST(ServerProtocol, CarriesAnIntegerValueBothWays) {
  TestServer server;
  WirePeer peer(server.GetPort(), 32);
  const Bytes value =
      BigWord(0) + BigWord(32) + BigWord(eParamID_IPConfig) + BigWord(3) + BigWord(2);
  ASSERT_TRUE(peer.Send(ParamRequest(113, eParamID_IPConfig, 0, 0, 20) + value));
  EXPECT_EQ(2U, peer.Get(eParamID_IPConfig));
  ASSERT_TRUE(peer.Send(ParamRequest(112, eParamID_IPConfig)));
  EXPECT_EQ(20U, peer.Record().at(9));
  EXPECT_EQ(Hex(value), Hex(peer.Receive(20)));
  // A parameter without a value.
  ASSERT_TRUE(peer.Send(ParamRequest(112, 0x01020304)));
  EXPECT_EQ(60U, peer.Record().at(7));
}

// A library socket with little room, so that nearly all of a large record has to wait.
struct NarrowPair {
  static constexpr int kRoom = 65536;
  NarrowPair() {
    EXPECT_EQ(1, socket->create());
    EXPECT_EQ(1, socket->set_buffer_size(SO_SNDBUF, kRoom));
    EXPECT_EQ(1, socket->connect("127.0.0.1", listener.GetPort()));
    peer = std::make_unique<Wire>(listener.Accept());
    const int room = kRoom;
    ::setsockopt(peer->fd(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
  }
  WireListener listener;
  std::unique_ptr<Socket> socket = std::make_unique<Socket>(AF_INET, SOCK_STREAM);
  std::unique_ptr<Wire> peer;
};

TEST(ServerProtocol, SendsAllThatAPeerAskedForBeforeItEnds) {
  TestServer server;
  const std::string text(1024 * 1024 - 17, 'm');
  Store store(33);
  WirePeer watcher(server.GetPort(), 33);
  watcher.Listen();
  for (const bool disconnects : {true, false}) {
    NarrowPair pair;
    std::thread connection([&] { NetworkTCPConnection(pair.socket.release()).Run(); });
    store->Set(eParamID_SysName, text);
    const Bytes requests = ConnectionRequest(16, 33) + ParamRequest(112, eParamID_SysName);
    ASSERT_TRUE(pair.peer->Send(disconnects ? requests + ConnectionRequest(17) : requests));
    if (!disconnects) pair.peer->CloseForWriting();
    const auto event = watcher.Record();
    ASSERT_EQ(145U, event.at(0));
    EXPECT_EQ(event[9], watcher.Receive(event[9]).size());
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(32U, pair.peer->Record(7).at(0));
    const auto answer = pair.peer->Record();
    ASSERT_EQ(128U, answer.at(0));
    const Bytes value = pair.peer->Receive(answer[9]);
    EXPECT_EQ(text.size() + 17, value.size());
    EXPECT_EQ(disconnects ? 7U : 0U, pair.peer->Record(7).size());
    EXPECT_TRUE(pair.peer->IsClosedByPeer());
    connection.join();
  }
}

// What a socket takes of a record, and what stays, are the same record.
TEST(Outbox, SendsWholeRecordsInOrderToAPeerThatReadsLate) {
  NarrowPair pair;
  const auto outbox = std::make_shared<Outbox>(*pair.socket);
  Bytes sent;
  Bytes received;
  // Several times what an outbox holds, so that it makes room in front, too.
  for (int i = 0; i < 40; ++i) {
    Bytes record(50000 + static_cast<std::size_t>(i));
    std::iota(record.begin(), record.end(), static_cast<char>(i));
    sent.insert(sent.end(), record.begin(), record.end());
    Outbox::Put put;
    while ((put = outbox->PutRecord(record.data(), record.size())) == Outbox::Put::kFull) {
      received = std::move(received) + pair.peer->Receive(30000);
    }
    ASSERT_EQ(Outbox::Put::kTaken, put);
  }
  received = std::move(received) + pair.peer->Receive(sent.size() - received.size());
  EXPECT_TRUE(sent == received);
  outbox->Close();
}

TEST(ServerProtocol, StopsAConnectionAtAMessageThatItDoesNotKnow) {
  TestServer server;
  WirePeer other(server.GetPort(), 11);
  // The last two are requests of the other byte order.
  for (const uint32_t type : {0U, 18U, 96U, 114U, 0xFFFFFFFFU, 16U << 24, 80U << 24}) {
    WirePeer peer(server.GetPort(), 0);
    CaptureStderr();
    ASSERT_TRUE(peer.Send(ParamRequest(type, 0)));
    EXPECT_TRUE(peer.IsClosedByPeer());
    EXPECT_THAT(GetCapturedStderr(),
                HasSubstr("NetworkTCPConnection::ProcessMessages - Unknown message type " +
                          std::to_string(static_cast<int>(type)) + "\n"));
  }
  EXPECT_EQ(0U, other.Get(eParamID_MediaUpdated));
}

TEST(ServerProtocol, UnderstandsRecordsThatWereCutAnywhere) {
  TestServer server;
  WirePeer peer(server.GetPort(), 34);
  const Bytes stream = ParamRequest(81, eParamID_MediaUpdated, 1, 1) +
                       SetStringRequest(eParamID_SysName, "cut anywhere", 2) +
                       ParamRequest(80, eParamID_MediaUpdated, 0, 3) +
                       ParamRequest(112, eParamID_SysName, 0, 4);
  for (std::size_t cut = 1; cut < stream.size(); ++cut) {
    ASSERT_TRUE(peer.Send(Bytes(stream.begin(), stream.begin() + std::ptrdiff_t(cut))));
    std::this_thread::yield();
    ASSERT_TRUE(peer.Send(Bytes(stream.begin() + std::ptrdiff_t(cut), stream.end())));
    const auto number = peer.Record();
    ASSERT_EQ(3U, number.at(2)) << "cut at " << cut;
    ASSERT_EQ(1U, number.at(8)) << "cut at " << cut;
    const auto text = peer.Record();
    ASSERT_EQ(4U, text.at(2)) << "cut at " << cut;
    ASSERT_EQ(StringValueBytes(eParamID_SysName, "cut anywhere").size(),
              peer.Receive(text[9]).size());
  }
  for (const char byte : stream) ASSERT_TRUE(peer.Send({byte}));
  EXPECT_EQ(3U, peer.Record().at(2));
}
