// The daemon's service, as its clients and strangers meet it: the daemon is a process of its own.
#include <sys/wait.h>

#include <algorithm>

#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/access/queue/PosixMQClient.h"
#include "libconfig/access/queue/PosixMQFactory.h"
#include "libconfig/access/queue/PosixMQServer.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/manager/LocalConfigFactory.h"
#include "tests/testing/Daemon.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Golden.h"
#include "tests/testing/Names.h"
#include "tests/testing/Queues.h"
#include "tests/testing/Wire.h"

namespace {

constexpr uint32_t kIPConfig = 0x32010000;

class QueueService : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = WhyNoQueues();
    if (!reason.empty()) GTEST_SKIP() << reason;
    CreateDescriptors();
    Start();
    ASSERT_THAT(_daemon->GetOutput(), HasSubstr("serving mq:" + _name + "\n"));
    _requests = TestQueue::Existing(_name);
    _responses = TestQueue(ConnectionUtilities::GetQueueName(_id));
    ASSERT_EQ(0U, Ask({16, _id, 0, 0, 0})[5]);
  }
  void TearDown() override {
    _daemon.reset();
    EXPECT_FALSE(TestQueue::Existing(_name).IsOpen()) << "it leaves nothing behind";
  }

  void Start() {
    _daemon = std::make_unique<Daemon>(std::vector<std::string>{"--queue", _name, "--quiet"});
  }

  // The words of the answer; as many zeros when there is none.
  WordList Ask(const WordList& request, const Bytes& stream = {}) {
    _requests.Send(request, stream);
    WordList answer = _responses.ReceiveWords();
    answer.resize(std::max<std::size_t>(answer.size(), 13));
    return answer;
  }
  WordList Get(uint32_t param = kIPConfig) { return Ask({80, _id, 1, 0, 0, param, 0, 0, 0}); }
  WordList Set(uint32_t value) { return Ask({81, _id, 2, 0, 0, kIPConfig, value, 0, 0}); }
  static Bytes Value(const char* text) { return StringValueBytes(eParamID_SysName, text); }
  WordList SetText(const Bytes& stream, std::size_t length) {
    return Ask({113, _id, 3, 0, 0, eParamID_SysName, 0, static_cast<uint32_t>(length), 2560},
               stream);
  }

  Config* ConnectByNetwork() {
    return ConfigFactoryImpl::GetInstance()->Connect(_daemon->GetURI());
  }

  const std::string _name = TestQueueName();
  // Not one that a factory of this process makes.
  const uint32_t _id = (static_cast<uint32_t>(::getpid()) << 16) + 0x8000;
  std::unique_ptr<Daemon> _daemon;
  TestQueue _requests;
  TestQueue _responses;
};

TEST_F(QueueService, AnswersInTheRecordsOfItsProtocol) {
  const auto before = static_cast<uint32_t>(::time(nullptr));
  std::map<std::string, uint32_t> variables = {{"id", _id}};
  const std::size_t count = Golden().GetExchange("queue").size();
  for (std::size_t i = 0; i < count; ++i) {
    if (Golden().GetExchange("queue")[i].fromClient) {
      ASSERT_TRUE(_requests.SendBytes(Golden(variables).GetExchange("queue")[i].ToBytes()));
      continue;
    }
    const Bytes answer = _responses.Receive();
    const WordList words = ToWords(answer);
    ASSERT_LE(13U, words.size());
    if (words[0] == 129 || words[0] == 144) {
      EXPECT_LE(before, words[7]);
      variables["seconds"] = words[7];
      variables["microseconds"] = words[8];
    }
    EXPECT_EQ(Golden(variables).GetExchange("queue")[i].ToHex(), Hex(answer));
  }
  EXPECT_EQ(107U, Get()[9]) << "not connected any more";
}

TEST_F(QueueService, RefusesWithANumberWhatCannotBeDone) {
  EXPECT_EQ(53U, Set(77)[9]);
  EXPECT_EQ(60U, Get(0x01020304)[9]);
  EXPECT_EQ(60U, Get(eParamID_SysName)[9]) << "no number";
  EXPECT_EQ(53U, SetText(Value("x"), 19)[9]) << "announced longer than it is";
  EXPECT_EQ(53U, SetText({}, 0xFFFFFFFF)[9]);
  EXPECT_EQ(53U, SetText(Value("x"), 17)[9]) << "without its end";
  EXPECT_EQ(53U, SetText(Bytes(40, '\xFF'), 40)[9]);
  EXPECT_EQ(60U, Ask({112, _id, 4, 0, 0, kIPConfig, 0, 0, 0})[9]) << "no text";
  EXPECT_EQ(53U, Ask({113, _id, 3, 0, 0, eParamID_ClipName, 0, 18, 2560}, Value("x"))[9])
      << "another parameter's";
  for (uint32_t config = 1; config < 64; ++config) {
    EXPECT_EQ(0U, Ask({80, _id, 1, config, 0, kIPConfig, 0, 0, 0})[9]);
  }
  EXPECT_EQ(23U, Ask({80, _id, 1, 64, 0, kIPConfig, 0, 0, 0})[9]) << "too many configurations";
  // A text that came by another way, and is too long for a message.
  Config* const network = ConnectByNetwork();
  network->Set(eParamID_SysName, std::string(2000, 'x'));
  std::string text;
  network->Get(eParamID_SysName, text);
  EXPECT_EQ(90U, Ask({112, _id, 4, 0, 0, eParamID_SysName, 0, 0, 0})[9]);
  ConfigFactoryImpl::GetInstance()->Disconnect(network);
}

TEST_F(QueueService, DropsWhatIsShorterThanItsRecord) {
  const WordList whole = {113, _id, 9, 0, 0, eParamID_SysName, 0, 0, 0};
  for (std::size_t words = 0; words < 9; ++words) {
    for (const uint32_t type : {16U, 17U, 48U, 49U, 80U, 81U, 112U, 113U, 114U, 5U, 0xFFFFFFFFU}) {
      const std::size_t needed = type <= 17 && type >= 16 ? 5 : type <= 49 && type >= 48 ? 6 : 9;
      if (words >= needed) continue;
      WordList request(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(words));
      if (words > 0) request[0] = type;
      ASSERT_TRUE(_requests.Send(request, {'x', 'y', 'z'}));
    }
  }
  EXPECT_EQ(96U, Get()[0]) << "the first answer there is";
}

TEST_F(QueueService, WaitsForNoClientAndNamesTheSlowOneOnce) {
  Ask({48, _id, 7, 0, 0, 0});
  Config* const network = ConnectByNetwork();
  PosixMQFactory factory(_name);
  PosixMQClient* const reader = factory.Connect("");
  ASSERT_NE(nullptr, reader);
  for (unsigned i = 0; i < 300; ++i) network->Set(eParamID_MediaUpdated, i);
  EXPECT_EQ(299U, network->Get(eParamID_MediaUpdated));
  EXPECT_EQ(299U, reader->Get(eParamID_MediaUpdated)) << "others are served";
  EXPECT_EQ(120, _responses.Waiting()) << "answers have room";
  // The system knows an emulated process by its emulator's name.
  const std::string name = Emulator() == nullptr ? "test_queue" : "qemu-ppc";
  const std::string line = "configd: " + name + " (" + std::to_string(::getpid()) +
                           ") does not read its message queue " +
                           ConnectionUtilities::GetQueueName(_id) +
                           " and hears only the latest changes when it does; clients so far: 1\n";
  EXPECT_TRUE(_daemon->WaitForOutput(line));
  network->Set(eParamID_IntervalTime, 7U);
  network->Set(eParamID_MediaUpdated, 300U);
  EXPECT_EQ(300U, network->Get(eParamID_MediaUpdated));
  _requests.Send({80, _id, 1, 0, 0, eParamID_MediaUpdated, 0, 0, 0});
  for (unsigned i = 0; i < 120; ++i) EXPECT_EQ(i, _responses.ReceiveWords()[10]);
  // What came next, whole and in its order: the answer, and the latest change of each parameter.
  std::vector<std::string> next;
  for (const char* const what : {"type ", "param ", "param "}) {
    const WordList words = _responses.ReceiveWords();
    ASSERT_LE(13U, words.size());
    next.push_back(what + std::to_string(what[0] == 't' ? words[0] : words[6]) + " value " +
                   std::to_string(words[10]));
  }
  EXPECT_THAT(
      next, testing::UnorderedElementsAre(
                "type 96 value 300", "param " + std::to_string(eParamID_IntervalTime) + " value 7",
                "param " + std::to_string(eParamID_MediaUpdated) + " value 300"));
  network->Set(eParamID_MediaUpdated, 1001U);
  EXPECT_EQ(1001U, _responses.ReceiveWords()[10]);
  factory.Disconnect(reader);
  ConfigFactoryImpl::GetInstance()->Disconnect(network);
}

// The queue of a process that ended without a word.
TEST_F(QueueService, RemovesTheQueuesOfClientsThatDied) {
  int ready[2];
  ASSERT_EQ(0, ::pipe(ready));
  const pid_t child = ::fork();
  if (child == 0) {
    PosixMQFactory factory(_name);
    PosixMQClient* const client = factory.Connect("");
    std::_Exit(client == nullptr ? 1 : 0);
  }
  int status = -1;
  ASSERT_EQ(child, ::waitpid(child, &status, 0));
  ASSERT_EQ(0, status);
  const std::string name = ConnectionUtilities::GetQueueName(static_cast<uint32_t>(child) << 16);
  EXPECT_TRUE(TestQueue::Existing(name).IsOpen());
  Ask({16, _id, 0, 0, 0});
  EXPECT_TRUE(Eventually([&] { return !TestQueue::Existing(name).IsOpen(); }));
}

TEST_F(QueueService, DoesNotWriteToAnotherUsersQueue) {
  TestQueue foreign(ConnectionUtilities::GetQueueName(_id + 1));
  if (::fchown(foreign.Get(), 12345, 12345) != 0) {
    GTEST_SKIP() << "only root can make a queue of another user";
  }
  _requests.Send({16, _id + 1, 0, 0, 0});
  _requests.Send({80, _id + 1, 0, 0, 0, kIPConfig, 0, 0, 0});
  EXPECT_EQ(96U, Get()[0]);
  EXPECT_EQ(0, foreign.Waiting());
}

TEST_F(QueueService, OfASecondDaemonIsAClearError) {
  Daemon second({"--queue", _name});
  EXPECT_EQ(1, second.Wait());
  EXPECT_EQ(
      "configd: cannot serve mq:" + _name +
          ": another configd serves it; stop that one, or start with --queue NAME for another "
          "queue, or with --no-queue for none\n",
      second.GetOutput());
  EXPECT_EQ(96U, Get()[0]) << "the first one goes on";
  Daemon without;
  EXPECT_THAT(without.GetOutput(), HasSubstr("ready\n"));
  EXPECT_THAT(without.GetOutput(), Not(HasSubstr("mq:")));
}

// As the daemon does with a configuration whose file cannot be read for the moment.
struct RefusingOnce : qel::config::access::StoreObserver {
  RefusingOnce() { qel::config::access::LocalConfigFactory::SetStoreObserver(this); }
  ~RefusingOnce() override { qel::config::access::LocalConfigFactory::SetStoreObserver(nullptr); }
  bool StoreOpened(ConfigManager&) override { return std::exchange(_asked, true); }
  void StoreClosing(ConfigManager&) override {}

 private:
  bool _asked = false;
};

// As a program of one's own does it.
TEST(QueueServer, ServesTheStoresOfItsOwnProcess) {
  const std::string reason = WhyNoQueues();
  if (!reason.empty()) GTEST_SKIP() << reason;
  const std::string name = TestQueueName() + "_own";
  {
    PosixMQServer server(name);
    EXPECT_FALSE(server.Start()) << "not open";
    ASSERT_EQ(PosixMQServer::Opened::kYes, server.Open());
    EXPECT_EQ(PosixMQServer::Opened::kTaken, PosixMQServer(name).Open());
    ASSERT_TRUE(server.Start());
    PosixMQFactory factory(name);
    PosixMQClient* const client = factory.Connect("");
    ASSERT_NE(nullptr, client);
    Config* const store = ConfigFactoryImpl::GetInstance()->Connect("local:");
    EXPECT_EQ(1, store->Set(eParamID_IPConfig, 2U));
    EXPECT_EQ(2U, client->Get(eParamID_IPConfig));
    // A store that cannot be had now is asked for again.
    RefusingOnce observer;
    TestQueue requests = TestQueue::Existing(name);
    TestQueue responses(ConnectionUtilities::GetQueueName(0x00018000));
    const auto ask = [&](const WordList& request) {
      requests.Send(request);
      return responses.ReceiveWords();
    };
    ask({16, 0x00018000, 0, 0, 0});
    EXPECT_EQ(23U, ask({80, 0x00018000, 1, 9, 0, kIPConfig, 0, 0, 0}).at(9));
    EXPECT_EQ(0U, ask({80, 0x00018000, 2, 9, 0, kIPConfig, 0, 0, 0}).at(9));
    ConfigFactoryImpl::GetInstance()->Disconnect(store);
    factory.Disconnect(client);
  }
  EXPECT_FALSE(TestQueue::Existing(name).IsOpen());
  EXPECT_EQ(PosixMQServer::Opened::kUnavailable, PosixMQServer("no slash").Open());
}

TEST(WithoutQueues, TheDaemonSaysWhatToSetAndServesTheRest) {
  if (!kOwnNamespace) GTEST_SKIP() << "the system's limits cannot be changed";
  const std::string name = TestQueueName() + "_unserved";
  WriteFile("/proc/sys/fs/mqueue/msg_max", "10");
  const bool refused = WhyNoQueues().find("Invalid argument") != std::string::npos;
  {
    Daemon daemon({"--queue", name});
    if (refused) {
      EXPECT_THAT(daemon.GetOutput(),
                  HasSubstr("configd: not serving mq:" + name +
                            ": Invalid argument; set fs.mqueue.msg_max to 128 or more (sysctl -w "
                            "fs.mqueue.msg_max=128), or start with --no-queue\n"));
    }
    EXPECT_THAT(daemon.GetOutput(), HasSubstr("configd: ready\n"));
  }
  WriteFile("/proc/sys/fs/mqueue/msg_max", "256");
  if (!refused) GTEST_SKIP() << "this user may have queues of any length";
}

}  // namespace
