// The library's TCP client against servers that a test plays, and against the real one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/network/NetworkFactory.h"
#include "libconfig/network/NetworkTCPClient.h"
#include "libconfig/network/Socket.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Golden.h"
#include "tests/testing/RecordingListener.h"
#include "tests/testing/TestServer.h"
#include "tests/testing/Wire.h"

using qel::vorlane::config::access::NetworkClient;
using qel::vorlane::config::access::NetworkFactory;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using testing_support::ActingListener;
using testing_support::Bytes;
using testing_support::Eventually;
using testing_support::Golden;
using testing_support::Hex;
using testing_support::RecordingListener;
using testing_support::StringValueBytes;
using testing_support::TestServer;
using testing_support::Wire;
using testing_support::WireListener;
using testing_support::Words;
using testing_support::operator+;

namespace {

using Record = std::vector<uint32_t>;

Bytes Answer(uint32_t type, const Record& request, uint32_t value, uint32_t error = 0) {
  return Words(std::array<uint32_t, 11>{type, request[1], request[2], request[3], request[4],
                                        request[5], request[6], error, value, 0, 0});
}

Bytes StringAnswer(const Record& request, const std::string& text, uint32_t type = 128) {
  const Bytes value = StringValueBytes(request[6], text);
  return Words(std::array<uint32_t, 11>{type, request[1], request[2], request[3], request[4],
                                        request[5], request[6], 0, 0, uint32_t(value.size()),
                                        3072}) +
         value;
}

Bytes Event(uint32_t param, uint32_t value) {
  return Words(std::array<uint32_t, 11>{144, 0, 0xFFFFFFFF, 0, 0, 4096, param, 0, value, 0, 3072});
}

// A server of one peer, which accepts its Connect Request and then does what the test says.
class PlayedServer {
 public:
  using Play = std::function<void(Wire&)>;

  explicit PlayedServer(Play play)
      : _thread([this, play = std::move(play)] {
          Wire peer(_listener.Accept());
          const auto request = peer.Record(6);
          if (request.size() != 6) return;
          peer.Send(Words(std::array<uint32_t, 7>{32, request[1], request[2], request[3],
                                                  request[4], request[5], 0}));
          play(peer);
        }) {}
  ~PlayedServer() { WaitUntilPlayed(); }

  void WaitUntilPlayed() {
    if (_thread.joinable()) _thread.join();
  }

  std::string GetURI() const { return _listener.GetURI(); }

  std::unique_ptr<NetworkClient> Connect() {
    return std::unique_ptr<NetworkClient>(NetworkFactory().Connect(GetURI()));
  }

 private:
  WireListener _listener;
  std::thread _thread;
};

// Speaks a recorded exchange with configuration 11, and checks what the client says in it.
class GoldenServer {
 public:
  explicit GoldenServer(const char* exchange) : _thread([this, exchange] { Play(exchange); }) {}
  ~GoldenServer() { _thread.join(); }
  std::string GetURI() const { return _listener.GetURI() + "/configid=11"; }

 private:
  void Play(const char* exchange) {
    Wire peer(_listener.Accept());
    Bytes request = peer.Receive(24);
    uint32_t id = 0;
    std::memcpy(&id, request.data() + 4, sizeof id);
    EXPECT_EQ(static_cast<uint32_t>(::getpid()) & 0xFFFF, id & 0xFFFF);
    for (const auto& message : Golden({{"id", id}, {"config", 11}}).GetExchange(exchange)) {
      const Bytes bytes = message.ToBytes();
      if (!message.fromClient) {
        peer.Send(bytes);
        continue;
      }
      if (request.empty()) request = peer.Receive(bytes.size());
      EXPECT_EQ(Hex(bytes), Hex(request));
      request.clear();
    }
  }

  WireListener _listener;
  std::thread _thread;
};

}  // namespace

TEST(TcpClient, SaysWhatIsWrongWithItsServer) {
  struct Case {
    Bytes answer;
    const char* message;
  };
  const Case cases[] = {
      {Words(std::array<uint32_t, 7>{33, 0, 0, 0, 0, 0, 0}),
       "NetworkClient::ConfirmConnection: unexpected msgtype == 33\n"},
      {Words(std::array<uint32_t, 7>{99, 0, 0, 0, 0, 0, 0}),
       "NetworkClient::ConfirmConnection: unexpected msgtype == 99\n"},
      {Words(std::array<uint32_t, 7>{32, 0, 0, 0, 0, 0, 5}),
       "NetworkClient::ConfirmConnection: server responded with error 5\n"},
      {Bytes(27, 'x'), "NetworkClient::ConfirmConnection - receive failed\n"},
      {Golden().GetExchange("tcp").at(1).ToBytes(testing_support::kOtherOrder),
       "NetworkClient::ConfirmConnection: unexpected msgtype == 536870912\n"},
  };
  for (const Case& c : cases) {
    WireListener listener;
    std::thread server([&] {
      Wire peer(listener.Accept());
      peer.Record(6);
      peer.Send(c.answer);
    });
    CaptureStderr();
    EXPECT_EQ(nullptr, NetworkFactory().Connect(listener.GetURI()));
    const std::string report = GetCapturedStderr();
    EXPECT_THAT(report, HasSubstr(c.message));
    EXPECT_THAT(report, HasSubstr("NetworkFactory::Connect - failed to confirm connection with "
                                  "host 127.0.0.1\n"));
    server.join();
  }
}

TEST(TcpClient, AsksInTheRecordsOfTheProtocol) {
  GoldenServer server("tcp");
  NetworkClient* const client = NetworkFactory().Connect(server.GetURI());
  ASSERT_NE(nullptr, client);
  EXPECT_EQ(0U, client->Get(eParamID_MediaUpdated));
  EXPECT_EQ(1, client->Set(eParamID_MediaUpdated, 1U));
  EXPECT_EQ(1, client->Set(eParamID_SysName, std::string("Edit 7")));
  std::string text;
  EXPECT_EQ(1, client->Get(eParamID_SysName, text));
  EXPECT_EQ("Edit 7", text);
  RecordingListener changes;
  EXPECT_EQ(1, client->AddConfigEventListener(&changes));
  EXPECT_EQ(1, client->AddConfigEventListener(&changes)) << "which is not asked for again";
  EXPECT_EQ(1, client->Set(eParamID_MediaUpdated, 0U));
  EXPECT_TRUE(changes.WaitFor(eParamID_MediaUpdated, "0"));
  EXPECT_EQ(1, client->Set(eParamID_SysName, std::string("x")));
  EXPECT_TRUE(changes.WaitFor(eParamID_SysName, "x"));
  NetworkFactory().Disconnect(client);
}

TEST(TcpClient, IsOfNoUseAfterItsLastListener) {
  GoldenServer server("tcp-listen");
  const std::unique_ptr<NetworkClient> client(NetworkFactory().Connect(server.GetURI()));
  ASSERT_NE(nullptr, client);
  RecordingListener listener;
  EXPECT_EQ(1, client->AddConfigEventListener(&listener));
  EXPECT_EQ(1, client->RemoveConfigEventListener(&listener));
  EXPECT_FALSE(client->IsConnected());
  EXPECT_EQ(0, client->AddConfigEventListener(&listener));
}

TEST(TcpClient, TakesAnswersOutOfWhateverElseComes) {
  PlayedServer server([&](Wire& peer) {
    // Events that nobody asked for, a refusal of an earlier string, and only then the answer.
    auto request = peer.Record(10);
    peer.Send(Event(eParamID_IPConfig, 99) + StringAnswer(request, "event", 145) +
              Answer(129, request, 0, 53) + Answer(96, request, 7));
    // A number that was never asked with is taken as it is.
    request = peer.Record(10);
    request[2] = 4711;
    peer.Send(Answer(96, request, 8));
    request = peer.Record(10);
    peer.Send(StringAnswer(request, "text"));
    // Of a type that is no answer to a string request, and still one by its contents.
    request = peer.Record(10);
    peer.Send(StringAnswer(request, "odd type", 112));
    request = peer.Record(10);
    peer.Send(Answer(96, request, 9));
  });
  const auto client = server.Connect();
  ASSERT_NE(nullptr, client);
  EXPECT_EQ(7U, client->Get(eParamID_IPConfig));
  EXPECT_EQ(8U, client->Get(eParamID_IPConfig));
  std::string text;
  EXPECT_EQ(1, client->Get(eParamID_SysName, text));
  EXPECT_EQ("text", text);
  EXPECT_EQ(1, client->Get(eParamID_SysName, text));
  EXPECT_EQ("odd type", text);
  EXPECT_EQ(9U, client->Get(eParamID_IPConfig));
}

TEST(TcpClient, LeavesItsOutParametersAloneOnFailure) {
  PlayedServer server([&](Wire& peer) {
    peer.Send(Answer(96, peer.Record(10), 7, 107));
    auto request = peer.Record(10);
    peer.Send(Answer(128, request, 0, 60));
    request = peer.Record(10);
    peer.Send(Answer(128, request, 0));  // no stream
    request = peer.Record(10);
    peer.Send(
        Words(std::array<uint32_t, 11>{128, 0, request[2], 0, 0, 0, request[6], 0, 0, 20, 3072}) +
        testing_support::BigWord(0) + Bytes(16, '\0'));  // a number
    peer.Record(10);
    peer.Send(Words(std::array<uint32_t, 11>{128, 0, 5, 0, 0, 0, 0, 0, 0, 1024 * 1024 + 1, 3072}));
  });
  const auto client = server.Connect();
  ASSERT_NE(nullptr, client);
  unsigned int number = 42;
  std::string text = "before";
  CaptureStderr();
  EXPECT_EQ(0, client->Get(eParamID_IPConfig, number));
  EXPECT_EQ("NetworkClient::Get - response message indicated an error\n", GetCapturedStderr());
  EXPECT_EQ(42U, number);
  for (const char* message :
       {"NetworkClient::Get - response error != 0\n", "NetworkClient::Get - invalid streamLength\n",
        "NetworkClient::Get - warning! deserialized non-StringValue\n",
        "NetworkClient::Get - Unable to allocate buffer\n"}) {
    CaptureStderr();
    EXPECT_EQ(0, client->Get(eParamID_SysName, text));
    EXPECT_EQ(message, GetCapturedStderr());
  }
  EXPECT_EQ("before", text);
  EXPECT_FALSE(client->IsConnected());
}

TEST(TcpClient, NeverTakesALateAnswerForTheNext) {
  PlayedServer server([&](Wire& peer) {
    const auto late = peer.Record(10);
    const auto lateText = peer.Record(10);
    const auto next = peer.Record(10);
    peer.Send(Answer(96, late, 1) + StringAnswer(lateText, "late") + Answer(96, next, 3));
  });
  const auto client = server.Connect();
  ASSERT_NE(nullptr, client);
  unsigned int number = 42;
  std::string text = "before";
  CaptureStderr();
  EXPECT_EQ(0, client->Get(eParamID_IPConfig, number));
  EXPECT_EQ(0, client->Get(eParamID_SysName, text));
  const std::string report = GetCapturedStderr();
  EXPECT_THAT(report, HasSubstr("Socket::read_select - readfds is not set"));
  EXPECT_THAT(report, HasSubstr("NetworkClient::Get - select failed on port "));
  EXPECT_THAT(report, HasSubstr("NetworkClient::Get [Stream] - select failed on port "));
  EXPECT_EQ(42U, number);
  EXPECT_EQ("before", text);
  EXPECT_EQ(3U, client->Get(eParamID_IPConfig));
}

TEST(TcpClient, DoesNotSendATextThatIsTooLong) {
  TestServer server;
  const std::unique_ptr<NetworkClient> client(NetworkFactory().Connect(server.GetURI()));
  // 40 bytes of record, 16 of value header and a zero leave room for 8135.
  EXPECT_EQ(1, client->Set(eParamID_SysName, std::string(8135, 'x')));
  CaptureStderr();
  EXPECT_EQ(0, client->Set(eParamID_SysName, std::string(8136, 'y')));
  EXPECT_EQ("NetworkClient::Set: The string value exceeds the buffer length (Max:8192 Len:8193)\n",
            GetCapturedStderr());
  std::string text;
  EXPECT_EQ(1, client->Get(eParamID_SysName, text));
  EXPECT_EQ(std::string(8135, 'x'), text);
}

TEST(TcpClient, ReadsConfigurationNumbersAndTransportsFromItsURI) {
  TestServer server;
  NetworkFactory factory;
  for (auto [option, number] :
       {std::pair<const char*, int>{"/configid=3", 3}, {"/configid=-1", -1}}) {
    std::unique_ptr<NetworkClient> client(factory.Connect(server.GetURI() + option));
    ASSERT_NE(nullptr, client);
    EXPECT_EQ(number, client->GetConfigID());
  }
  CaptureStderr();
  const std::string bad = server.GetURI() + "/configid=x";
  std::unique_ptr<NetworkClient> client(factory.Connect(bad));
  EXPECT_THAT(GetCapturedStderr(),
              HasSubstr("NetworkFactory::Connect - unable to read configid, matches = 0, uri = " +
                        bad + "\n"));
  EXPECT_EQ(0, client->GetConfigID());
  for (const char* port : {"0", "-1", "65536", "4294967297"}) {
    CaptureStderr();
    EXPECT_EQ(nullptr, factory.Connect("tcp://127.0.0.1:" + std::string(port)));
    EXPECT_THAT(GetCapturedStderr(),
                HasSubstr("NetworkFactory::Connect - failed to connect to host 127.0.0.1, port "));
  }
  CaptureStderr();
  EXPECT_EQ(nullptr, factory.Connect("ftp://127.0.0.1:1"));
  EXPECT_EQ("NetworkFactory::Connect - The transport for ftp://127.0.0.1:1 is not supported\n",
            GetCapturedStderr());
}

TEST(TcpClient, PollsAndListensOnOneConnection) {
  TestServer server;
  const std::unique_ptr<NetworkClient> client(
      NetworkFactory().Connect(server.GetURI() + "/configid=61"));
  const std::unique_ptr<NetworkClient> other(
      NetworkFactory().Connect(server.GetURI() + "/configid=61"));
  RecordingListener listener;
  ASSERT_EQ(1, client->AddConfigEventListener(&listener));
  client->Get(eParamID_MediaUpdated);  // the answer says that the registration has arrived
  constexpr unsigned kChanges = 2000;
  std::thread setter([&] {
    for (unsigned i = 1; i <= kChanges; ++i) other->Set(eParamID_MediaUpdated, i);
  });
  // Two threads poll while events pour in, and each gets its own answers.
  std::thread poller([&] {
    std::string text;
    for (int i = 0; i < 300; ++i) ASSERT_EQ(1, client->Get(eParamID_ReelName, text));
  });
  unsigned last = 0;
  for (int i = 0; i < 300; ++i) {
    unsigned value;
    ASSERT_EQ(1, client->Get(eParamID_MediaUpdated, value));
    ASSERT_GE(value, last);
    last = value;
  }
  setter.join();
  poller.join();
  EXPECT_TRUE(listener.WaitFor(eParamID_MediaUpdated, std::to_string(kChanges)));
  const auto values = listener.GetValues(eParamID_MediaUpdated);
  ASSERT_EQ(kChanges, values.size());
  for (unsigned i = 0; i < kChanges; ++i) ASSERT_EQ(std::to_string(i + 1), values[i]);
  EXPECT_EQ(1, client->RemoveConfigEventListener(&listener));
  EXPECT_FALSE(client->IsConnected());
}

TEST(TcpClient, MayBeUsedFromInsideAListenersCall) {
  TestServer server;
  NetworkFactory factory;
  NetworkClient* const client = factory.Connect(server.GetURI() + "/configid=62");
  std::atomic<bool> stop{false};
  unsigned got = 0;
  std::string text;
  ActingListener listener([&] {
    client->Set(eParamID_SysName, std::string("from inside"));
    got = client->Get(eParamID_MediaUpdated);
    client->Get(eParamID_SysName, text);
  });
  ASSERT_EQ(1, client->AddConfigEventListener(&listener));
  // Somebody else is always in the middle of an exchange, which the events thread has to serve.
  std::thread poller([&] {
    while (!stop) client->Get(eParamID_IPConfig);
  });
  ASSERT_EQ(1, client->Set(eParamID_MediaUpdated, 5U));
  ASSERT_TRUE(listener.WaitUntilDone());
  EXPECT_EQ(5U, got);
  EXPECT_EQ("from inside", text);
  // The event of the change that it made itself follows.
  EXPECT_TRUE(listener.WaitFor(eParamID_SysName, "from inside"));
  stop = true;
  poller.join();
  factory.Disconnect(client);
}

TEST(TcpClient, EndsAServerThatSendsTextsInsteadOfItsAnswer) {
  PlayedServer server([](Wire& peer) {
    peer.Record(7);
    peer.Send(Event(eParamID_IPConfig, 1));
    const auto request = peer.Record(10);
    if (request.size() != 10) return;
    const Bytes text = StringValueBytes(eParamID_SysName, std::string(1000000, 'x'));
    for (int i = 0; i < 10; ++i) {
      peer.Send(Words(std::array<uint32_t, 11>{145, 0, 0xFFFFFFFF, 0, 0, 4096, eParamID_SysName, 0,
                                               0, uint32_t(text.size()), 3072}) +
                text);
    }
    peer.Send(Answer(96, request, 7));
    peer.Record();
  });
  auto client = server.Connect();
  std::atomic<int> result{-1};
  ActingListener listener([&] {
    unsigned number;
    result = client->Get(eParamID_IPConfig, number);
  });
  CaptureStderr();
  client->AddConfigEventListener(&listener);
  EXPECT_TRUE(listener.WaitUntilDone());
  EXPECT_EQ(0, result);
  EXPECT_TRUE(Eventually([&] { return !client->IsConnected(); }));
  client.reset();  // before the listener
  GetCapturedStderr();
}

TEST(TcpClient, EndsWhenAListenerThrows) {
  TestServer server;
  ActingListener listener([] { throw 1; });
  const std::unique_ptr<NetworkClient> client(NetworkFactory().Connect(server.GetURI()));
  CaptureStderr();
  ASSERT_EQ(1, client->AddConfigEventListener(&listener));
  ASSERT_EQ(1, client->Set(eParamID_MediaUpdated, 5U));
  EXPECT_TRUE(Eventually([&] { return !client->IsConnected(); }));
  unsigned int number;
  EXPECT_EQ(0, client->Get(eParamID_MediaUpdated, number));
  EXPECT_EQ(0, client->AddConfigEventListener(&listener));
  GetCapturedStderr();
}

// Whoever says that it listens does so.
TEST(TcpClient, TakesNoListenerWhileItsLastOneLeaves) {
  TestServer server;
  CaptureStderr();
  for (int i = 0; i < 200; ++i) {
    RecordingListener first;
    RecordingListener second;
    const std::unique_ptr<NetworkClient> client(NetworkFactory().Connect(server.GetURI()));
    client->AddConfigEventListener(&first);
    std::atomic<bool> go{false};
    int added = 0;
    std::thread other([&] {
      while (!go) {
      }
      added = client->AddConfigEventListener(&second);
    });
    go = true;
    client->RemoveConfigEventListener(&first);
    other.join();
    unsigned int number;
    EXPECT_EQ(added, client->Get(eParamID_IPConfig, number));
  }
  GetCapturedStderr();
}

TEST(TcpClient, MayLoseItsListenerFromInsideTheCall) {
  TestServer server;
  NetworkFactory factory;
  NetworkClient* const client = factory.Connect(server.GetURI() + "/configid=63");
  ActingListener* self = nullptr;
  ActingListener listener([&] { EXPECT_EQ(1, client->RemoveConfigEventListener(self)); });
  self = &listener;
  ASSERT_EQ(1, client->AddConfigEventListener(&listener));
  ASSERT_EQ(1, client->Set(eParamID_MediaUpdated, 5U));
  ASSERT_TRUE(listener.WaitUntilDone());
  EXPECT_FALSE(client->IsConnected());
  factory.Disconnect(client);
}

TEST(TcpClient, MayBeHandedBackFromInsideAListenersCall) {
  TestServer server;
  for (int i = 0; i < 20; ++i) {
    Config* const client =
        ConfigFactoryImpl::GetInstance()->Connect(server.GetURI() + "/configid=64");
    ActingListener listener(
        [&] { EXPECT_EQ(1, ConfigFactoryImpl::GetInstance()->Disconnect(client)); });
    ASSERT_EQ(1, client->AddConfigEventListener(&listener));
    client->Set(eParamID_MediaUpdated, 5U);
    ASSERT_TRUE(listener.WaitUntilDone());
    // A pointer that was given back is recognised.
    EXPECT_EQ(0, ConfigFactoryImpl::GetInstance()->Disconnect(client));
  }
}

TEST(TcpClient, NoticesThatItsServerIsGone) {
  auto server = std::make_unique<PlayedServer>([](Wire& peer) { peer.Record(7); });
  const auto client = server->Connect();
  RecordingListener listener;
  ASSERT_EQ(1, client->AddConfigEventListener(&listener));
  server.reset();
  EXPECT_TRUE(Eventually([&] { return !client->IsConnected(); }));
  EXPECT_EQ(0, client->Set(eParamID_IPConfig, 1U));
  unsigned value;
  EXPECT_EQ(0, client->Get(eParamID_IPConfig, value));
}

TEST(TcpClient, IsMadeAndDestroyedUnderTraffic) {
  TestServer server;
  std::atomic<bool> stop{false};
  std::thread traffic([&] {
    const std::unique_ptr<NetworkClient> setter(
        NetworkFactory().Connect(server.GetURI() + "/configid=65"));
    for (unsigned i = 0; !stop; ++i) {
      setter->Set(eParamID_MediaUpdated, i);
      if (i % 16 == 0) setter->Get(eParamID_MediaUpdated);
    }
  });
  RecordingListener listener;
  testing::internal::CaptureStderr();
  for (int i = 0; i < 100; ++i) {
    Config* const client =
        ConfigFactoryImpl::GetInstance()->Connect(server.GetURI() + "/configid=65");
    ASSERT_NE(nullptr, client);
    ASSERT_EQ(1, client->AddConfigEventListener(&listener));
    if (i % 2 == 0) {
      delete client;
    } else {
      EXPECT_EQ(1, ConfigFactoryImpl::GetInstance()->Disconnect(client));
    }
  }
  testing::internal::GetCapturedStderr();
  stop = true;
  traffic.join();
}
