// How changes reach the listeners of a queue client while it does other things.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "libconfig/access/ConfigEvent.h"
#include "libconfig/descriptors/Catalogue.h"
#include "tests/queue/FakeDaemon.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/RecordingListener.h"
#include "tests/testing/Wire.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing_support::ActingListener;
using testing_support::Eventually;
using testing_support::FakeDaemon;
using testing_support::QueueTest;
using testing_support::QueueWords;
using testing_support::RecordingListener;
using testing_support::Response;
using testing_support::TestQueue;

namespace {

class QueueEvents : public QueueTest {
 protected:
  void SetUp() override {
    QueueTest::SetUp();
    CreateDescriptors();
  }

  static QueueWords Event(uint32_t value, uint32_t connection = FakeDaemon::FirstConnection()) {
    Response event;
    event.param = eParamID_MediaUpdated;
    event.seconds = 1700000000;
    event.value = value;
    return event.Event(144, connection);
  }

  bool Send(const QueueWords& words, const std::string& stream = {}) {
    return FakeDaemon::ResponseQueue(FakeDaemon::FirstConnection())->Send(words, stream);
  }
};

TEST_F(QueueEvents, AreAskedForOnceAndUntilTheLastListenerLeaves) {
  std::mutex mutex;
  std::vector<QueueWords> requests;
  Connect([&](const std::string& request, TestQueue&) {
    const std::lock_guard<std::mutex> lock(mutex);
    requests.push_back(TestQueue::ToWords(request));
    return false;
  });
  RecordingListener listener;
  EXPECT_EQ(0, _client->AddConfigEventListener(eParamID_MediaUpdated, &listener));
  EXPECT_EQ(1, _client->AddConfigEventListener(&listener));
  EXPECT_EQ(1, _client->AddConfigEventListener(&listener));
  ASSERT_TRUE(Send(Event(1)));
  EXPECT_TRUE(Eventually([&] { return listener.GetHeard().size() == 2; })) << "twice";
  EXPECT_EQ(1, _client->RemoveConfigEventListener(&listener));
  EXPECT_EQ(1, _client->RemoveConfigEventListener(&listener));
  EXPECT_EQ(1, _client->RemoveConfigEventListener(&listener)) << "asks again";
  GiveBack();
  const uint32_t id = FakeDaemon::FirstConnection();
  const std::lock_guard<std::mutex> lock(mutex);
  ASSERT_EQ(5U, requests.size());
  EXPECT_EQ((QueueWords{48, id, 1, 0, 0, 0}), requests[1]);
  EXPECT_EQ((QueueWords{49, id, 2, 0, 0, 0}), requests[2]);
  EXPECT_EQ((QueueWords{49, id, 3, 0, 0, 0}), requests[3]);
}

TEST_F(QueueEvents, AreNotOnWhenTheDaemonRefuses) {
  Connect([](const std::string& request, TestQueue& queue) {
    Response refusal;
    refusal.result = 5;
    const QueueWords words = TestQueue::ToWords(request);
    return words[0] == 48 && queue.Send(refusal.To(words));
  });
  RecordingListener listener;
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, _client->AddConfigEventListener(&listener));
  EXPECT_EQ("PosixMQClient::AddConfigEventListener - error = 5\n",
            testing::internal::GetCapturedStderr());
  EXPECT_EQ(1, _client->Set(eParamID_IPConfig, 1U));
}

// A notification only comes for a queue that was empty.
TEST_F(QueueEvents, ThatComeAheadOfTheirNotificationAreHeard) {
  Connect([](const std::string& request, TestQueue& queue) {
    const QueueWords words = TestQueue::ToWords(request);
    if (words[0] != 48) return false;
    queue.Send(Event(1));
    queue.Send(Response{}.To(words));
    return queue.Send(Event(2));
  });
  RecordingListener listener;
  ASSERT_EQ(1, _client->AddConfigEventListener(&listener));
  EXPECT_TRUE(listener.WaitFor(eParamID_MediaUpdated, "2"));
  EXPECT_THAT(listener.GetValues(eParamID_MediaUpdated), ElementsAre("1", "2"));
}

TEST_F(QueueEvents, AndAnswersNeverTakeEachOthersPlace) {
  constexpr uint32_t kEvents = 10000;
  Connect([](const std::string& request, TestQueue& queue) {
    const QueueWords words = TestQueue::ToWords(request);
    Response response;
    response.value = words[2];
    return words[0] == 80 && queue.Send(response.To(words));
  });
  RecordingListener listener;
  ASSERT_EQ(1, _client->AddConfigEventListener(&listener));
  std::thread storm([] {
    const auto queue = FakeDaemon::ResponseQueue(FakeDaemon::FirstConnection());
    for (uint32_t i = 0; i < kEvents; ++i) queue->Send(Event(i));
  });
  unsigned last = _client->Get(eParamID_IPConfig);
  for (int i = 0; i < 10000; ++i) {
    const unsigned value = _client->Get(eParamID_IPConfig);
    ASSERT_EQ(last + 1, value) << "each answer repeats the number of its request";
    last = value;
  }
  storm.join();
  ASSERT_TRUE(Eventually([&] { return listener.GetHeard().size() == kEvents; }));
  const auto values = listener.GetValues(eParamID_MediaUpdated);
  for (uint32_t i = 0; i < kEvents; ++i) ASSERT_EQ(std::to_string(i), values[i]);
}

TEST_F(QueueEvents, OfOthersAndDamagedOnesAreLeftOut) {
  Connect();
  RecordingListener listener;
  ASSERT_EQ(1, _client->AddConfigEventListener(&listener));
  Response text;
  text.param = eParamID_SysName;
  const auto bytes = testing_support::StringValueBytes(eParamID_SysName, "Edit 7");
  const std::string stream(bytes.begin(), bytes.end());
  const uint32_t id = FakeDaemon::FirstConnection();
  testing::internal::CaptureStderr();
  Send(Event(9, id + 1));
  Send(text.Event(145, id));
  text.streamLength = 100;
  Send(text.Event(145, id), stream);
  text.streamLength = static_cast<uint32_t>(stream.size()) - 1;
  Send(text.Event(145, id), stream);
  Send({130, id, 77, 0});
  text.streamLength = static_cast<uint32_t>(stream.size());
  Send(text.Event(145, id), stream);
  EXPECT_TRUE(listener.WaitFor(eParamID_SysName, "Edit 7"));
  const std::string complaint = testing::internal::GetCapturedStderr();
  EXPECT_EQ(1U, listener.GetHeard().size());
  EXPECT_EQ(
      "PosixMQClient::ProcessConfigStreamParamEvent - invalid streamLength\n"
      "PosixMQClient::ProcessConfigStreamParamEvent - invalid streamLength\n"
      "Unknown message type 130\n",
      complaint);
}

TEST_F(QueueEvents, LetTheirListenersDoAsTheyLike) {
  Connect();
  RecordingListener other;
  ActingListener busy([&] {
    EXPECT_EQ(1, _client->Set(eParamID_IPConfig, 1U));
    EXPECT_EQ(1, _client->AddConfigEventListener(&other));
    EXPECT_EQ(1, _client->RemoveConfigEventListener(&busy));
    ConfigEvent event;
    EXPECT_EQ(0, _client->WaitForConfigEvent(event, 0, 0));
  });
  ASSERT_EQ(1, _client->AddConfigEventListener(&busy));
  Send(Event(1));
  ASSERT_TRUE(busy.WaitUntilDone());
  Send(Event(2));
  EXPECT_TRUE(other.WaitFor(eParamID_MediaUpdated, "2"));
  EXPECT_EQ(1U, busy.GetHeard().size());
}

TEST_F(QueueEvents, MayEndTheirClient) {
  Connect();
  ActingListener leaver([&] { _factory->Disconnect(_client); });
  RecordingListener behind;
  ASSERT_EQ(1, _client->AddConfigEventListener(&leaver));
  ASSERT_EQ(1, _client->AddConfigEventListener(&behind));
  Send(Event(1));
  ASSERT_TRUE(leaver.WaitUntilDone());
  _client = nullptr;
  EXPECT_TRUE(behind.GetHeard().empty());
}

TEST_F(QueueEvents, OnTheirWayFindNoClientThatIsGone) {
#ifdef TEST_SANITIZED
  constexpr uint32_t kRounds = 1000;
#else
  constexpr uint32_t kRounds = 10000;
#endif
  std::atomic<bool> stop{false};
  std::atomic<uint32_t> current{0};
  std::shared_ptr<TestQueue> next;
  Connect();
  std::thread storm([&] {
    while (!stop) {
      const auto queue = std::atomic_exchange(&next, std::shared_ptr<TestQueue>());
      for (int i = 0; i < 20 && queue != nullptr; ++i) queue->Send(Event(1, current));
      if (queue == nullptr) std::this_thread::yield();
    }
  });
  const auto end = [&](void*) {
    stop = true;
    storm.join();
  };
  const std::unique_ptr<void, decltype(end)> ender(&storm, end);
  std::size_t heard = 0;
  for (uint32_t i = 1; i <= kRounds; ++i) {
    PosixMQClient* const client = _factory->Connect("");
    ASSERT_NE(nullptr, client);
    RecordingListener listener;
    ASSERT_EQ(1, client->AddConfigEventListener(&listener));
    current = FakeDaemon::FirstConnection() + i;
    std::atomic_store(&next, FakeDaemon::ResponseQueue(current));
    if (i % 20 == 0) {
      EXPECT_TRUE(Eventually([&] { return !listener.GetHeard().empty(); }));
    }
    _factory->Disconnect(client);
    heard += listener.GetHeard().size();
  }
  EXPECT_GE(heard, kRounds / 20);
}

struct Thrower : RecordingListener {
  using RecordingListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned value, timeval when) override {
    RecordingListener::ParamChanged(param, value, when);
    if (value == 1) throw value;
  }
};

TEST_F(QueueEvents, GoOnAfterAListenerThatThrows) {
  Connect();
  Thrower thrower;
  ASSERT_EQ(1, _client->AddConfigEventListener(&thrower));
  testing::internal::CaptureStderr();
  Send(Event(1));
  Send(Event(2));
  EXPECT_TRUE(thrower.WaitFor(eParamID_MediaUpdated, "2"));
  GiveBack();  // and with it what another thread has to say
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("] PosixMQClient::MQNotifyHandler - exception!!!!\n"));
}

// What the program waits for with sigwait must not find an open thread.
TEST_F(QueueEvents, AreHeardWithEverySignalBlocked) {
  Connect();
  std::atomic<bool> blocked{false};
  ActingListener listener([&] {
    sigset_t mask;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    blocked = ::sigismember(&mask, SIGTERM) == 1 && ::sigismember(&mask, SIGUSR1) == 1;
  });
  ASSERT_EQ(1, _client->AddConfigEventListener(&listener));
  Send(Event(1));
  ASSERT_TRUE(listener.WaitUntilDone());
#ifndef TEST_NOTIFIES_BY_POLLING
  EXPECT_TRUE(blocked);
#endif
  // But not in a thread that does the system's work.
  sigval self;
  self.sival_ptr = _client;
  PosixMQClient::MQNotifyHandler(self);
  sigset_t mask;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(0, ::sigismember(&mask, SIGUSR1));
}

// A thread that waits for one event after the other, until that fails.
class Waiter {
 public:
  explicit Waiter(PosixMQClient* client)
      : _body([this, client] {
          _id = ::syscall(SYS_gettid);
          ConfigEvent event;
          do ++_calls;
          while (client->WaitForConfigEvent(event, 0, 0) != 0);
        }) {}
  ~Waiter() { Join(); }

  // Inside that call, and not on the way there.
  bool IsAsleepInCall(int number) {
    return Eventually(
        [&] {
          if (_calls != number) return false;
          std::ifstream file("/proc/self/task/" + std::to_string(_id) + "/stat");
          const std::string stat{std::istreambuf_iterator<char>(file), {}};
          return stat.find(") S ") != std::string::npos;
        },
        std::chrono::seconds(20));
  }
  void Join() {
    if (_body.joinable()) _body.join();
  }

 private:
  std::atomic<int> _calls{0};
  std::atomic<long> _id{0};
  std::thread _body;
};

TEST_F(QueueEvents, CanBeWaitedFor) {
  std::atomic<int> registrations{0};
  Connect([&](const std::string& request, TestQueue& queue) {
    const QueueWords words = TestQueue::ToWords(request);
    if (words[0] != 48) return false;
    ++registrations;
    queue.Send(Response{}.To(words));
    return queue.Send(Event(1));
  });
  ConfigEvent event;
  event.type = eParamType_Unknown;
  ASSERT_EQ(1, _client->WaitForConfigEvent(event, 0, 0));
  EXPECT_EQ(eParamID_MediaUpdated, event.param);
  EXPECT_EQ(GetDescriptor(eParamID_MediaUpdated)->GetParamType(), event.type);
  EXPECT_EQ(1U, event.value);
  EXPECT_EQ(1700000000, event.time.tv_sec);
  // An exchange meanwhile leaves the event to whoever waits for it.
  Send(Event(2));
  EXPECT_EQ(1, _client->Set(eParamID_IPConfig, 1U));
  // So does a notification for a client that had this one's place in memory, and one who drains.
  sigval late;
  late.sival_ptr = _client;
  std::thread(PosixMQClient::MQNotifyHandler, late).join();
  EXPECT_EQ(1, _client->ProcessEvents());
  ASSERT_EQ(1, _client->WaitForConfigEvent(event, 0, 0));
  EXPECT_EQ(2U, event.value);
  EXPECT_EQ(1, registrations);
  Send({130, FakeDaemon::FirstConnection(), 0, 0});
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, _client->WaitForConfigEvent(event, 0, 0));
  EXPECT_EQ("PosixMQClient::WaitForConfigEvent - Unknown message type 130\n",
            testing::internal::GetCapturedStderr());
  // Giving the client back ends the waiting.
  Waiter waiter(_client);
  EXPECT_TRUE(waiter.IsAsleepInCall(1));
  Send(Event(3));
  EXPECT_TRUE(waiter.IsAsleepInCall(2));
  GiveBack();
  waiter.Join();
}

TEST_F(QueueEvents, AreHeardAfterOneWhoWaitedForThemWasCancelled) {
  Connect([](const std::string& request, TestQueue& queue) {
    const QueueWords words = TestQueue::ToWords(request);
    if (words[0] != 48) return false;
    queue.Send(Event(1));
    return queue.Send(Response{}.To(words));
  });
  std::thread waiter([this] {
    ConfigEvent event;
    EXPECT_EQ(1, _client->WaitForConfigEvent(event, 0, 0));
    // Takes effect in the waiting, and with no signal, which not every emulator can unwind from.
    ::pthread_cancel(::pthread_self());
    _client->WaitForConfigEvent(event, 0, 0);
    ADD_FAILURE() << "was not cancelled";
  });
  waiter.join();
  EXPECT_EQ(1, _client->Set(eParamID_IPConfig, 1U));
  RecordingListener listener;
  ASSERT_EQ(1, _client->AddConfigEventListener(&listener));
  Send(Event(2));
  EXPECT_TRUE(listener.WaitFor(eParamID_MediaUpdated, "2"));
}

TEST_F(QueueEvents, ReachTheOneWhoWaitsThoughThereAreListeners) {
  Connect();
  RecordingListener listener;
  ASSERT_EQ(1, _client->AddConfigEventListener(&listener));
  Waiter waiter(_client);
  int call = 1;
  for (; call <= 200 && waiter.IsAsleepInCall(call); ++call) Send(Event(1));
  EXPECT_TRUE(waiter.IsAsleepInCall(call)) << "the event before did not reach it";
  EXPECT_EQ(200U, listener.GetHeard().size());
  GiveBack();
  waiter.Join();
}

}  // namespace
