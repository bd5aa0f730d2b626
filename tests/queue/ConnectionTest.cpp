// How a process gets to the daemon and takes its leave.
#include <sys/resource.h>

#include <algorithm>

#include "tests/queue/FakeDaemon.h"
#include "tests/testing/Names.h"
#include "tests/testing/RecordingListener.h"

namespace {

class QueueConnection : public QueueTest {
 protected:
  static std::string FailToConnect(PosixMQFactory& factory) {
    return MessagesOf([&] { EXPECT_EQ(nullptr, factory.Connect("")); });
  }

  static std::string ResponseName(unsigned number) {
    return ConnectionUtilities::GetQueueName(FakeDaemon::FirstConnection() + number);
  }
};

TEST_F(QueueConnection, HasAQueueOfItsOwnUntilItIsGivenBack) {
  Connect();
  PosixMQClient* const second = _factory->Connect("");
  ASSERT_NE(nullptr, second);
  EXPECT_TRUE(TestQueue::Existing(ResponseName(0)).IsOpen());
  EXPECT_TRUE(TestQueue::Existing(ResponseName(1)).IsOpen());
  EXPECT_FALSE(TestQueue::Existing(ResponseName(2)).IsOpen());
  _factory->Disconnect(second);
  EXPECT_FALSE(TestQueue::Existing(ResponseName(1)).IsOpen());
  _factory->Disconnect(second);
  _factory->Disconnect(nullptr);
}

TEST_F(QueueConnection, SaysWhyTheDaemonDoesNotAcceptIt) {
  std::function<void(WordList&)> spoil;
  FakeDaemon daemon([&](const WordList& request, TestQueue& queue) {
    if (request[0] != 16) return true;
    WordList answer = Response{}.To(request);
    spoil(answer);
    return answer.empty() || queue.Send(answer);
  });
  PosixMQFactory factory(TestQueueName());
  const auto nextDescriptor = [] {
    const int fd = ::dup(0);
    ::close(fd);
    return fd;
  };
  const int before = nextDescriptor();
  const auto lastLine = [](unsigned number) {
    return "PosixMQFactory::Connect - failed to confirm connection " + ResponseName(number) +
           " with server\n";
  };
  const struct {
    std::function<void(WordList&)> spoil;
    const char* complaint;
  } cases[] = {
      {[](WordList& words) { words[5] = 12; }, "server responded with error 12\n"},
      {[](WordList& words) { words[0] = 33; }, "unexpected msgtype == 33\n"},
      {[](WordList& words) { words[2] = 9; }, "mismatched msgInfo\n"},
      {[](WordList& words) { words.resize(6); }, "mismatched msgInfo\n"},
  };
  unsigned number = 0;
  for (const auto& c : cases) {
    spoil = c.spoil;
    EXPECT_EQ(
        (number == 2 ? "IsValidResponse - request.requestID (2) != response.requestID (9)\n" : "") +
            std::string("PosixMQFactory::ConfirmConnection: ") + c.complaint + lastLine(number),
        FailToConnect(factory));
    EXPECT_FALSE(TestQueue::Existing(ResponseName(number++)).IsOpen());
  }
  spoil = [](WordList& words) { words.clear(); };
  factory.SetPatience(std::chrono::milliseconds(20));
  char identifier[16];
  std::snprintf(identifier, sizeof identifier, "%X", FakeDaemon::FirstConnection() + 4);
  EXPECT_EQ(
      "PosixMQFactory::ConfirmConnection - mq_receive failed\n: Connection timed out\n"
      "PosixMQFactory::ConfirmConnection - mq_receive for connectionID " +
          std::string(identifier) + " failed\n" + lastLine(4),
      FailToConnect(factory));
  EXPECT_EQ(before, nextDescriptor()) << "they leave none behind";
}

TEST_F(QueueConnection, NeedsADescriptorToEndItsWaiting) {
#ifdef TEST_SANITIZED
  GTEST_SKIP() << "sanitizers want descriptors of their own";
#endif
  FakeDaemon daemon;
  PosixMQFactory factory(TestQueueName());
  CaptureStderr();
  rlimit limit;
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit few = {std::min<rlim_t>(limit.rlim_cur, 200), limit.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &few);
  std::vector<int> taken;
  for (int fd; (fd = ::dup(0)) != -1;) taken.push_back(fd);
  // Those of the response queue, here and in the daemon.
  for (int i = 0; i < 2; ++i, taken.pop_back()) ::close(taken.back());
  EXPECT_EQ(nullptr, factory.Connect(""));
  EXPECT_EQ(EMFILE, errno);
  for (const int fd : taken) ::close(fd);
  ::setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_THAT(GetCapturedStderr(),
              StartsWith("PosixMQFactory::Connect - eventfd failed: Too many open files\n"
                         "PosixMQFactory::Connect - Each connection takes two file descriptors"));
  EXPECT_FALSE(TestQueue::Existing(ResponseName(0)).IsOpen());
}

TEST_F(QueueConnection, BeginsWithNothingThatWasLeftInItsQueue) {
  TestQueue left(ResponseName(0));
  ASSERT_TRUE(left.Send(Response{}.To({64, 1, 2, 3})));
  Connect();
  EXPECT_EQ(1, _client->Set(eParamID_IPConfig, 1U));
  GiveBack();
}

TEST_F(QueueConnection, GoesPastTheQueuesOfOtherClients) {
  TestQueue taken(ResponseName(0));
  ASSERT_EQ(0, ::flock(taken.Get(), LOCK_EX | LOCK_NB)) << "as another process would";
  Connect();
  RecordingListener listener;
  ASSERT_EQ(1, _client->AddConfigEventListener(&listener));
  PosixMQFactory other(TestQueueName());
  PosixMQClient* const client = other.Connect("");
  ASSERT_NE(nullptr, client);
  EXPECT_TRUE(TestQueue::Existing(ResponseName(2)).IsOpen());
  EXPECT_EQ(1, client->Set(eParamID_IPConfig, 1U));
  Response event;
  event.param = eParamID_IPConfig;
  event.value = 1;
  const uint32_t first = FakeDaemon::FirstConnection() + 1;
  ASSERT_TRUE(FakeDaemon::ResponseQueue(first)->Send(event.Event(144, first)));
  EXPECT_TRUE(listener.WaitFor(eParamID_IPConfig, "1")) << "the other one ended its notifications";
  other.Disconnect(client);
}

TEST_F(QueueConnection, RefusesAQueueThatIsNotAsItShouldBe) {
  FakeDaemon daemon;
  PosixMQFactory factory(TestQueueName());
  {
    TestQueue huge(ResponseName(0), 1, 65537);
    if (huge.IsOpen()) {
      EXPECT_THAT(FailToConnect(factory), HasSubstr("Message too long"));
    }
  }
  {
    TestQueue foreign(ResponseName(1));
    if (::fchown(foreign.Get(), 12345, 12345) != 0) {
      GTEST_SKIP() << "only root can make a queue of another user";
    }
    EXPECT_THAT(FailToConnect(factory),
                StartsWith("PosixMQFactory::Connect - mq_open failed: Permission denied\n"
                           "PosixMQFactory::Connect: mq_open on response queue " +
                           ResponseName(1) + " failed\n"));
  }
}

// In a process of its own, as a limit that is lowered stays so.
TEST_F(QueueConnection, DoublesTheLimitOnceAndSaysWhatToDo) {
  FakeDaemon daemon;
  const std::string name = TestQueueName();
  const auto body = [&] {
    PosixMQFactory factory(name);
    rlimit limit = {1000, 1000};
    if (::setrlimit(RLIMIT_MSGQUEUE, &limit) != 0) std::_Exit(3);
    if (factory.Connect("") != nullptr) std::_Exit(4);
    ::getrlimit(RLIMIT_MSGQUEUE, &limit);
    // Where the system does not let a process raise it, it is tried all the same.
    std::_Exit(limit.rlim_cur == 2000 || limit.rlim_cur == 1000 ? 0 : 5);
  };
  EXPECT_EXIT(body(), testing::ExitedWithCode(0),
              "mq_open failed: (Too many open files|Cannot allocate memory)\n(.*\n)*"
              "PosixMQFactory::Connect - . rm /dev/mqueue/.\n(.*\n)*.*mq_overview.7.[^\n]*\n$");
}

TEST_F(QueueConnection, EndsAProcessThatHasNoDaemon) {
  EXPECT_EXIT(PosixMQFactory factory("/no_such_queue_test"), testing::ExitedWithCode(255),
              "PosixMQFactory: mq_open failed: No such file or directory\n"
              "PosixMQFactory: mq_open on request queue failed for /no_such_queue_test\n"
              "PosixMQFactory: Are two copies of the corewheel running.\n");
}

// Each reset of the shared semaphore lets one through, and none is forgotten.
TEST_F(QueueConnection, GoesOnWhileOthersAreGivenBack) {
  Connect();
  std::atomic<int> ended{0};
  std::thread user([&] {
    for (int i = 0; i < 500; ++i) EXPECT_EQ(1, _client->Set(eParamID_IPConfig, 1U));
    ++ended;
  });
  while (ended == 0) {
    PosixMQClient* const other = _factory->Connect("");
    ASSERT_NE(nullptr, other);
    _factory->Disconnect(other);
  }
  user.join();
}

TEST(ProcessNames, AreKnownToThoseWhoAskAgain) {
  if (Emulator() != nullptr) GTEST_SKIP() << "the name is the emulator's";
  if (::access("/bin/ps", X_OK) != 0) GTEST_SKIP() << "there is no ps here";
  const auto pid = static_cast<unsigned>(::getpid());
  EXPECT_EQ("", ConnectionUtilities::GetPIDName(pid));
  EXPECT_THAT(ConnectionUtilities::GetPIDName(pid), StartsWith("test_queue"));
}

}  // namespace
