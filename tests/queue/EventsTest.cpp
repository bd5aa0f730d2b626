// How changes reach the listeners of a queue client while it does other things.
#include <signal.h>

#include "libconfig/access/ConfigEvent.h"
#include "libconfig/descriptors/Catalogue.h"
#include "tests/queue/FakeDaemon.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"
#include "tests/testing/Wire.h"

namespace {

class QueueEvents : public QueueTest {
 protected:
  static WordList Event(uint32_t value, uint32_t connection = FakeDaemon::FirstConnection()) {
    Response event;
    event.param = eParamID_MediaUpdated;
    event.seconds = 1700000000;
    event.value = value;
    return event.Event(144, connection);
  }

  bool Send(const WordList& words, const Bytes& stream = {}) {
    return FakeDaemon::ResponseQueue(FakeDaemon::FirstConnection())->Send(words, stream);
  }
};

TEST_F(QueueEvents, AreNotOnWhenTheDaemonRefuses) {
  ConnectTo(48, [](const WordList& request, TestQueue& queue) {
    Response refusal;
    refusal.result = 5;
    queue.Send(refusal.To(request));
  });
  RecordingListener listener;
  CaptureStderr();
  EXPECT_EQ(0, _client->AddConfigEventListener(&listener));
  EXPECT_EQ("PosixMQClient::AddConfigEventListener - error = 5\n", GetCapturedStderr());
  EXPECT_EQ(1, _client->Set(eParamID_IPConfig, 1U));
}

// A notification only comes for a queue that was empty.
TEST_F(QueueEvents, ThatComeAheadOfTheirNotificationAreHeard) {
  ConnectTo(48, [](const WordList& request, TestQueue& queue) {
    queue.Send(Event(1));
    queue.Send(Response{}.To(request));
    queue.Send(Event(2));
  });
  RecordingListener listener;
  ASSERT_EQ(1, _client->AddConfigEventListener(&listener));
  EXPECT_TRUE(listener.WaitFor(eParamID_MediaUpdated, "2"));
  EXPECT_THAT(listener.GetValues(eParamID_MediaUpdated), ElementsAre("1", "2"));
}

TEST_F(QueueEvents, AndAnswersNeverTakeEachOthersPlace) {
  constexpr uint32_t kEvents = 10000;
  ConnectTo(80, [](const WordList& request, TestQueue& queue) {
    Response response;
    response.value = request[2];
    queue.Send(response.To(request));
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
  const Bytes stream = StringValueBytes(eParamID_SysName, "Edit 7");
  const uint32_t id = FakeDaemon::FirstConnection();
  CaptureStderr();
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
  const std::string complaint = GetCapturedStderr();
  EXPECT_EQ(1U, listener.GetHeard().size());
  EXPECT_EQ(
      "PosixMQClient::ProcessConfigStreamParamEvent - invalid streamLength\n"
      "PosixMQClient::ProcessConfigStreamParamEvent - invalid streamLength\n"
      "Unknown message type 130\n",
      complaint);
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

TEST_F(QueueEvents, CanBeWaitedFor) {
  std::atomic<int> registrations{0};
  ConnectTo(48, [&](const WordList& request, TestQueue& queue) {
    ++registrations;
    queue.Send(Response{}.To(request));
    queue.Send(Event(1));
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
  CaptureStderr();
  EXPECT_EQ(0, _client->WaitForConfigEvent(event, 0, 0));
  EXPECT_EQ("PosixMQClient::WaitForConfigEvent - Unknown message type 130\n", GetCapturedStderr());
}

TEST_F(QueueEvents, AreHeardAfterOneWhoWaitedForThemWasCancelled) {
  ConnectTo(48, [](const WordList& request, TestQueue& queue) {
    queue.Send(Event(1));
    queue.Send(Response{}.To(request));
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
  std::atomic<int> waited{0};
  int sent = 0;
  WatchedThread waiter([&, client = _client] {
    ConfigEvent event;
    while (client->WaitForConfigEvent(event, 0, 0) != 0) ++waited;
  });
  const auto waitsAgain = [&] {
    return Eventually([&] { return waited == sent; }) && waiter.WaitUntilAsleep();
  };
  for (; sent < 200 && waitsAgain(); ++sent) Send(Event(1));
  EXPECT_TRUE(waitsAgain()) << "the event before did not reach it";
  EXPECT_EQ(200U, listener.GetHeard().size());
  GiveBack();
}

}  // namespace
