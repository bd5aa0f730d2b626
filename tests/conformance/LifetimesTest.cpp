// How listeners come and go, and how a Config ends while others are inside it, whatever it takes to
// reach the store. What sets a way apart is in the table of ways.
#include <future>

#include "libconfig/access/ConfigCache.h"
#include "libconfig/access/ConfigEvent.h"
#include "libconfig/network/NetworkClient.h"
#include "libconfig/network/NetworkEventListener.h"
#include "tests/conformance/Ways.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

using qel::vorlane::config::access::NetworkClient;
using qel::vorlane::config::access::NetworkEventListener;

namespace {

constexpr auto kNumber = eParamID_MediaUpdated;
constexpr auto kText = eParamID_SysName;

class Lifetimes : public ReachedStore {
 protected:
  void Change(unsigned value) { EXPECT_EQ(1, _store->Set(kNumber, value)); }
  void ChangeText(const std::string& text) { EXPECT_EQ(1, _store->Set(kText, text)); }

  // Another Config of this way. A cache listens to itself, as it should.
  Config* ConnectAnother() {
    Config* const config = Connect();
    auto* const cache = dynamic_cast<ConfigCache*>(config);
    EXPECT_TRUE(cache == nullptr || cache->AddConfigEventListener(cache) == 1);
    return config;
  }

  void Listen(Config* config, ConfigEventListener& listener) {
    ASSERT_EQ(1, config->AddConfigEventListener(&listener));
    // A registration is not answered; what is answered after it says that it has arrived. A group
    // is joined at once.
    if (Is(kReads)) config->Get(eParamID_IPConfig);
  }

  // A store lives on without this connection, and so do the listeners that it was given.
  void End(Config* config, std::initializer_list<ConfigEventListener*> listeners) {
    for (ConfigEventListener* const listener : listeners) {
      if (Is(kOnSetter) && !Is(kMapped)) config->RemoveConfigEventListener(listener);
    }
    GiveBack(config);
  }
};

// Lets go of everybody who waits for it, at the latest when it is destroyed.
class Gate {
 public:
  ~Gate() { Open(); }
  void Open() {
    if (!_isOpen.exchange(true)) _promise.set_value();
  }
  void Wait() { _future.wait(); }

 private:
  std::atomic<bool> _isOpen{false};
  std::promise<void> _promise;
  const std::shared_future<void> _future{_promise.get_future()};
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Ways, Lifetimes, testing::ValuesIn(WaysThat(kHears)), NameOf);

TEST_P(Lifetimes, EndInsideAListenersCall) {
  RecordingListener witness;
  Listen(_config, witness);
  for (unsigned round = 0; round < 80; round += 4) {
    const std::string number = std::to_string(round + 3);
    Config* const config = ConnectAnother();
    ASSERT_NE(nullptr, config);
    RecordingListener behind;
    ActingListener* self = nullptr;
    ActingListener leaver([&] {
      // What has arrived by now, on whichever thread, is not heard any more.
      Change(round + 2);
      ChangeText(number);
      if (!Is(kOnSetter)) {
        EXPECT_TRUE(witness.WaitFor(kText, number));
      }
      End(config, {self, &behind});
      Change(round + 3);
    });
    self = &leaver;
    Listen(config, leaver);
    Listen(config, behind);
    Change(round + 1);
    ASSERT_TRUE(leaver.WaitUntilDone());
    ASSERT_TRUE(witness.WaitFor(kNumber, number));
    EXPECT_EQ(1U, leaver.GetHeard().size());
    EXPECT_THAT(behind.GetHeard(), IsEmpty());
  }
}

// However much has come in meanwhile.
TEST_P(Lifetimes, HearNothingOnceTheyHaveBegunToEnd) {
  if (Is(kOnSetter) && !Is(kMapped)) GTEST_SKIP() << "a store lives on, and so do its listeners";
  Gate gate;
  RecordingListener witness;
  Listen(_config, witness);
  Config* const config = ConnectAnother();
  ActingListener slow([&] { gate.Wait(); });
  Listen(config, slow);
  std::thread storm([&] {
    for (unsigned i = 0; i < 500; ++i) Change(i);
  });
  ASSERT_TRUE(slow.WaitUntilCalled());
  if (!Is(kOnSetter)) {
    EXPECT_TRUE(witness.WaitFor(kNumber, "499"));
  }
  WatchedThread ender([&] { End(config, {&slow}); });
  EXPECT_TRUE(ender.WaitUntilAsleep());
  const auto begin = std::chrono::steady_clock::now();
  gate.Open();
  ender.Join();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  EXPECT_EQ(1U, slow.GetHeard().size()) << "the call that was running";
  storm.join();
}

TEST_P(Lifetimes, EndOverAndOverUnderChanges) {
  std::atomic<bool> stop{false};
  std::thread storm([&] {
    for (unsigned i = 0; !stop; ++i) {
      Change(i);
      if (i % 8 == 0) ChangeText(std::to_string(i));
    }
  });
  CaptureStderr();
  for (int round = 0; round < 30; ++round) {
    RecordingListener listener;
    Config* const config = ConnectAnother();
    EXPECT_EQ(1, config->AddConfigEventListener(&listener));
    EXPECT_TRUE(Eventually([&] { return !listener.GetHeard().empty(); }));
    for (int i = 0; i < 10; ++i) {
      // Whoever removes a listener may free it.
      const auto guest = std::make_unique<RecordingListener>();
      EXPECT_EQ(1, config->AddConfigEventListener(guest.get()));
      EXPECT_EQ(1, config->RemoveConfigEventListener(guest.get()));
    }
    if (round % 2 == 0 && dynamic_cast<NetworkClient*>(config) != nullptr) {
      delete config;
    } else {
      End(config, {&listener});
    }
  }
  stop = true;
  storm.join();
  GetCapturedStderr();
}

TEST_P(Lifetimes, LetAReaderGo) {
  if (Is(kOnSetter)) GTEST_SKIP() << "nobody waits for a store of the same process";
  if (Is(kCached | kMapped)) GTEST_SKIP() << "is deleted, when nobody is inside it any more";
  if (!Is(kReads)) GTEST_SKIP() << "nobody reads this way";
  Gate gate;
  ActingListener stall([&] { gate.Wait(); });
  Process* const daemon = _daemon == nullptr ? nullptr : &_daemon->GetProcess();
  if (daemon != nullptr) {
    daemon->Kill(SIGSTOP);
    EXPECT_TRUE(Eventually([&] { return IsInState(std::to_string(daemon->GetPid()), 'T'); }));
    _queues->SetPatience(std::chrono::milliseconds(100));  // of the leave alone
  } else {
    _store->AddConfigEventListener(&stall);
    _config->Set(kNumber, 1U);
    EXPECT_TRUE(stall.WaitUntilCalled());
  }
  CaptureStderr();
  WatchedThread reader([&] {
    std::string text;
    EXPECT_EQ(0, _config->Get(kText, text));
  });
  EXPECT_TRUE(reader.WaitUntilAsleep());
  const auto begin = std::chrono::steady_clock::now();
  GiveBack(_config);
  _config = nullptr;
  reader.Join();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  GetCapturedStderr();
  if (daemon != nullptr) {
    daemon->Kill(SIGCONT);
    _queues->SetPatience(std::chrono::seconds(60));
  }
  gate.Open();
  _store->RemoveConfigEventListener(&stall);
}

TEST_P(Lifetimes, LetAWaiterGo) {
  // A queue client hands out its events itself, and an event listener those of every Config.
  if (Is(kQueue)) {
    Config* const config = Connect();
    ConfigEvent event;
    WatchedThread waiter([&] { EXPECT_EQ(0, config->WaitForConfigEvent(event, 0, 0)); });
    EXPECT_TRUE(waiter.WaitUntilAsleep());
    GiveBack(config);
  }
  const bool byURI = !Is(kQueue | kMapped);
  for (int round = 0; round < 10; ++round) {
    NetworkEventListener listener;
    Config* const config = byURI ? nullptr : Connect();
    ASSERT_TRUE(byURI ? listener.Open(GetURI()) : listener.Open(config));
    std::atomic<int> events{0};
    WatchedThread waiter([&] {
      ConfigEvent event;
      while (listener.WaitForConfigEvent(event)) ++events;
    });
    EXPECT_TRUE(Eventually([&] { return Change(1), events > 0; }));
    std::thread storm;
    if (round % 2 == 0) {
      EXPECT_TRUE(waiter.WaitUntilAsleep());
    } else {
      storm = std::thread([&] {
        for (unsigned i = 0; i < 100; ++i) Change(i);
      });
    }
    listener.Close();
    waiter.Join();
    if (storm.joinable()) storm.join();
    if (config != nullptr) GiveBack(config);
  }
}

TEST_P(Lifetimes, LetListenersComeAndGoInsideACall) {
  RecordingListener removed, late, last;
  ActingListener* self = nullptr;
  ActingListener acting([&] {
    EXPECT_EQ(1, _config->RemoveConfigEventListener(&removed));
    EXPECT_EQ(1, _config->RemoveConfigEventListener(self));
    EXPECT_EQ(1, _config->AddConfigEventListener(&late));
  });
  self = &acting;
  EXPECT_EQ(0, _config->AddConfigEventListener(nullptr));
  Listen(_config, acting);
  EXPECT_EQ(0, _config->AddConfigEventListener(nullptr));
  Listen(_config, removed);
  Listen(_config, last);
  Change(1);
  ASSERT_TRUE(last.WaitFor(kNumber, "1")) << "nobody is left out";
  Change(2);
  ASSERT_TRUE(last.WaitFor(kNumber, "2"));
  ASSERT_TRUE(late.WaitFor(kNumber, "2"));
  EXPECT_EQ(1U, acting.GetHeard().size());
  EXPECT_EQ(1U, late.GetHeard().size()) << "a new one hears the next event";
  EXPECT_THAT(removed.GetHeard(), IsEmpty()) << "a removal takes effect at once";
  for (RecordingListener* const each : {&late, &last}) _config->RemoveConfigEventListener(each);

  // The last one, which is the end of a network client's connection.
  Config* const config = ConnectAnother();
  ActingListener alone([&] { EXPECT_EQ(1, config->RemoveConfigEventListener(self)); });
  self = &alone;
  Listen(config, alone);
  Change(3);
  EXPECT_TRUE(alone.WaitUntilDone());
  GiveBack(config);
}

TEST_P(Lifetimes, MakeARemovalWaitForTheRunningCall) {
  Gate gate;
  std::atomic<bool> running{false};
  RecordingListener last;
  auto listener = std::make_unique<ActingListener>([&] {
    running = true;
    gate.Wait();
    running = false;
  });
  Listen(_config, *listener);
  Listen(_config, last);
  std::thread setter([&] { Change(1); });
  ASSERT_TRUE(listener->WaitUntilCalled());
  WatchedThread remover([&] {
    EXPECT_EQ(1, _config->RemoveConfigEventListener(listener.get()));
    EXPECT_FALSE(running) << "whoever removed it may free it now";
    listener.reset();
  });
  EXPECT_TRUE(remover.WaitUntilAsleep());
  gate.Open();
  remover.Join();
  setter.join();
  Change(2);
  EXPECT_TRUE(last.WaitFor(kNumber, "2"));
  _config->RemoveConfigEventListener(&last);
}

TEST_P(Lifetimes, BearAListenerThatThrows) {
  Config* config = ConnectAnother();
  ActingListener listener([&] {
    if (Is(kOnSetter)) ChangeText("from inside");
    throw 1;
  });
  Listen(config, listener);
  CaptureStderr();
  if (Is(kOnSetter)) {
    EXPECT_ANY_THROW(_store->Set(kNumber, 1U));
  } else {
    Change(1);
    EXPECT_TRUE(listener.WaitUntilCalled());
  }
  if (!Is(kThrowingEnds)) {
    const std::size_t before = listener.GetHeard().size();
    Change(2);
    EXPECT_TRUE(listener.WaitFor(kNumber, "2"));
    EXPECT_EQ(before + 1, listener.GetHeard().size()) << "nothing is left from before";
  } else if (Is(kReads) && !Is(kMapped)) {
    // Mapped requests go another way than the events.
    EXPECT_TRUE(Eventually([&] {
      std::string text;
      return config->Get(eParamID_Status, text) == 0;
    }));
    EXPECT_EQ(0, config->AddConfigEventListener(&listener));
  }
  End(config, {&listener});
  EXPECT_THAT(GetCapturedStderr(),
              HasSubstr(Is(kQueue) ? "] PosixMQClient::MQNotifyHandler - exception!!!!\n" : ""));
}

TEST_P(Lifetimes, LetOthersReadWhileAListenerBlocks) {
  if (!Is(kReads)) GTEST_SKIP() << "nobody reads this way";
  Gate gate;
  ActingListener blocked([&] { gate.Wait(); });
  Listen(_config, blocked);
  std::thread setter([&] { Change(1); });
  ASSERT_TRUE(blocked.WaitUntilCalled());
  unsigned number = 4711;
  const int result = _config->Get(eParamID_RS422Remote, number);
  EXPECT_EQ(Read(number), result);
  std::string text;
  EXPECT_EQ(1, _config->Get(eParamID_ReelName, text));
  gate.Open();
  setter.join();
  _config->RemoveConfigEventListener(&blocked);
}

TEST_P(Lifetimes, MayBeUsedInsideAListenersCall) {
  if (!Is(kReads)) GTEST_SKIP() << "nobody reads this way";
  std::atomic<bool> stop{false};
  ActingListener listener([&] {
    EXPECT_EQ(1, _config->Set(kText, std::string("from inside")));
    EXPECT_EQ(5U, _config->Get(kNumber));
    std::string text;
    EXPECT_EQ(1, _config->Get(kText, text));
    EXPECT_EQ("from inside", text);
    ConfigEvent event;
    EXPECT_EQ(0, _config->WaitForConfigEvent(event, 0, 0));
  });
  Listen(_config, listener);
  // Somebody else is always in the middle of an exchange.
  std::thread poller([&] {
    std::string text;
    while (!stop) EXPECT_EQ(1, _config->Get(eParamID_Status, text));
  });
  Change(5);
  EXPECT_TRUE(listener.WaitUntilDone());
  // The event of the change that it made itself follows.
  EXPECT_TRUE(listener.WaitFor(kText, "from inside"));
  stop = true;
  poller.join();
  _config->RemoveConfigEventListener(&listener);
}
