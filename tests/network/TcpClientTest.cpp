// The library's TCP client against servers that a test plays, and against the real one.

#include "libconfig/network/NetworkFactory.h"
#include "libconfig/network/NetworkTCPClient.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Golden.h"
#include "tests/testing/Names.h"
#include "tests/testing/PlayedServer.h"
#include "tests/testing/TestServer.h"
#include "tests/testing/Threads.h"

using qel::vorlane::config::access::NetworkClient;
using qel::vorlane::config::access::NetworkFactory;

namespace {

std::unique_ptr<NetworkClient> Connect(const std::string& uri) {
  return std::unique_ptr<NetworkClient>(NetworkFactory().Connect(uri));
}

// Speaks a recorded exchange with configuration 11, and checks what the client says in it.
void Speak(WireListener& listener, const char* exchange) {
  Wire peer(listener.Accept());
  Bytes request = peer.Receive(24);
  const uint32_t id = ToWords(request).at(1);
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

}  // namespace

TEST(TcpClient, SaysWhatIsWrongWithItsServer) {
  struct Case {
    Bytes answer;
    const char* message;
  };
  const Case cases[] = {
      {Words({33, 0, 0, 0, 0, 0, 0}),
       "NetworkClient::ConfirmConnection: unexpected msgtype == 33\n"},
      {Words({32, 0, 0, 0, 0, 0, 5}),
       "NetworkClient::ConfirmConnection: server responded with error 5\n"},
      {Bytes(27, 'x'), "NetworkClient::ConfirmConnection - receive failed\n"},
      {Golden().GetExchange("tcp").at(1).ToBytes(kOtherOrder),
       "NetworkClient::ConfirmConnection: unexpected msgtype == 536870912\n"},
  };
  for (const Case& c : cases) {
    WireListener listener;
    const WatchedThread server([&] {
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
  }
}

TEST(TcpClient, AsksInTheRecordsOfTheProtocol) {
  WireListener listener;
  const std::string uri = listener.GetURI() + "/configid=11";
  const WatchedThread server([&] {
    Speak(listener, "tcp");
    Speak(listener, "tcp-listen");
  });
  NetworkClient* const client = NetworkFactory().Connect(uri);
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

  const auto again = Connect(uri);
  ASSERT_NE(nullptr, again);
  EXPECT_EQ(1, again->AddConfigEventListener(&changes));
  EXPECT_EQ(1, again->RemoveConfigEventListener(&changes));
  EXPECT_FALSE(again->IsConnected()) << "which its last listener ends";
}

TEST(TcpClient, TakesAnswersOutOfWhateverElseComes) {
  PlayedServer server([&](PlayedPeer& peer) {
    // Events that nobody asked for, a refusal of an earlier string, and only then the answer.
    auto request = peer.Request();
    peer.Event(eParamID_IPConfig, 99);
    peer.AnswerText(request, "event", 145);
    peer.Answer(request, 0, 53, 129);
    peer.Answer(request, 7);
    // A number that was never asked with is taken as it is.
    request = peer.Request();
    request[2] = 4711;
    peer.Answer(request, 8);
    peer.AnswerText(peer.Request(), "text");
    // Of a type that is no answer to a string request, and still one by its contents.
    peer.AnswerText(peer.Request(), "odd type", 112);
    peer.Answer(peer.Request(), 9);
  });
  const auto client = Connect(server.GetURI());
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
  PlayedServer server([&](PlayedPeer& peer) {
    peer.Answer(peer.Request(), 7, 107);
    peer.Answer(peer.Request(), 0, 60);
    peer.Answer(peer.Request());  // no stream
    peer.Send(PlayedPeer::AnswerBytes(peer.Request(), 128, 0, 0, 20) +
              Bytes(20, '\0'));  // a number
    peer.Send(PlayedPeer::AnswerBytes(peer.Request(), 128, 0, 0, 1024 * 1024 + 1));
  });
  const auto client = Connect(server.GetURI());
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

// Of a number and of a text, at the same time, as each takes the whole time-out.
TEST(TcpClient, NeverTakesALateAnswerForTheNext) {
  CaptureStderr();
  OnThreads(2, [](int isText) {
    PlayedServer server([isText](PlayedPeer& peer) {
      const auto late = peer.Request();
      const auto next = peer.Request();
      if (isText != 0) peer.AnswerText(late, "late");
      if (isText == 0) peer.Answer(late, 1);
      peer.Answer(next, 3);
    });
    const auto client = Connect(server.GetURI());
    unsigned int number = 42;
    std::string text = "before";
    EXPECT_EQ(0, isText != 0 ? client->Get(eParamID_SysName, text)
                             : client->Get(eParamID_IPConfig, number));
    EXPECT_EQ(42U, number);
    EXPECT_EQ("before", text);
    EXPECT_EQ(3U, client->Get(eParamID_IPConfig));
  });
  const std::string report = GetCapturedStderr();
  EXPECT_THAT(report,
              HasSubstr("Socket::read_select - readfds is not set (timeout secs:0 usecs:0)\n"));
  EXPECT_THAT(report, HasSubstr("NetworkClient::Get - select failed on port "));
  EXPECT_THAT(report, HasSubstr("NetworkClient::Get [Stream] - select failed on port "));
}

TEST(TcpClient, DoesNotSendATextThatIsTooLong) {
  TestServer server;
  const auto client = Connect(server.GetURI());
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
  EXPECT_THAT(MessagesOf([&] { EXPECT_EQ(nullptr, factory.Connect("tcp://127.0.0.1:65536")); }),
              HasSubstr("NetworkFactory::Connect - failed to connect to host 127.0.0.1, port "));
  CaptureStderr();
  EXPECT_EQ(nullptr, factory.Connect("ftp://127.0.0.1:1"));
  EXPECT_EQ("NetworkFactory::Connect - The transport for ftp://127.0.0.1:1 is not supported\n",
            GetCapturedStderr());
}

TEST(TcpClient, PollsAndListensOnOneConnection) {
  TestServer server;
  const auto client = Connect(server.GetURI() + "/configid=61");
  const auto other = Connect(server.GetURI() + "/configid=61");
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

TEST(TcpClient, EndsAServerThatSendsTextsInsteadOfItsAnswer) {
  PlayedServer server([](PlayedPeer& peer) {
    peer.Record(7);
    peer.Event(eParamID_IPConfig, 1);
    const auto request = peer.Request();
    if (request.size() != 10) return;
    for (int i = 0; i < 10; ++i) peer.AnswerText(request, std::string(1000000, 'x'), 145);
    peer.Answer(request, 7);
    peer.Record();
  });
  auto client = Connect(server.GetURI());
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

// Whoever says that it listens does so.
TEST(TcpClient, TakesNoListenerWhileItsLastOneLeaves) {
  TestServer server;
  CaptureStderr();
  for (int i = 0; i < 200; ++i) {
    RecordingListener first;
    RecordingListener second;
    const auto client = Connect(server.GetURI());
    client->AddConfigEventListener(&first);
    int added = 0;
    OnThreads(2, [&](int thread) {
      if (thread == 0) added = client->AddConfigEventListener(&second);
      if (thread == 1) client->RemoveConfigEventListener(&first);
    });
    unsigned int number;
    EXPECT_EQ(added, client->Get(eParamID_IPConfig, number));
  }
  GetCapturedStderr();
}

TEST(TcpClient, NoticesThatItsServerIsGone) {
  auto server = std::make_unique<PlayedServer>([](PlayedPeer& peer) { peer.Record(7); });
  const auto client = Connect(server->GetURI());
  RecordingListener listener;
  ASSERT_EQ(1, client->AddConfigEventListener(&listener));
  server.reset();
  EXPECT_TRUE(Eventually([&] { return !client->IsConnected(); }));
  EXPECT_EQ(0, client->Set(eParamID_IPConfig, 1U));
  unsigned value;
  EXPECT_EQ(0, client->Get(eParamID_IPConfig, value));
}
