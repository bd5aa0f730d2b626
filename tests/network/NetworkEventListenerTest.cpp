// Events as a queue that a thread waits on.
#include <time.h>

#include "libconfig/access/Config.h"
#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/network/NetworkEventListener.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

using qel::vorlane::config::access::NetworkEventListener;

namespace {

Config* Connect(int number) {
  return ConfigFactoryImpl::GetInstance()->Connect("local:configid=" + std::to_string(number));
}

// The values of MediaUpdated that are queued.
std::vector<unsigned> Drain(NetworkEventListener& listener) {
  std::vector<unsigned> values;
  listener.SetTimeoutInMS(0);
  CaptureStderr();
  ConfigEvent event;
  while (listener.WaitForConfigEvent(event)) values.push_back(event.value);
  EXPECT_EQ("NetworkEventListener::WaitForConfigEvent - Timed out\n", GetCapturedStderr());
  return values;
}

}  // namespace

TEST(NetworkEventListener, QueuesTheNewestEvents) {
  Config* const store = Connect(71);
  NetworkEventListener listener;
  ASSERT_TRUE(listener.Open(store));
  const auto change = [&](unsigned first, unsigned last) {
    for (unsigned i = first; i <= last; ++i) store->Set(eParamID_MediaUpdated, i);
  };
  change(1, 150);
  const auto newest = Drain(listener);
  ASSERT_EQ(100U, newest.size());
  EXPECT_EQ(51U, newest.front());
  EXPECT_EQ(150U, newest.back());
  listener.SetMaximumQueueSize(2);
  change(1, 3);
  EXPECT_THAT(Drain(listener), ElementsAre(2U, 3U));
  listener.SetMaximumQueueSize(0);
  change(4, 5);
  EXPECT_THAT(Drain(listener), IsEmpty());
}

TEST(NetworkEventListener, HandsOutEventsAsTheyWere) {
  NetworkEventListener listener;
  ConfigEvent event;
  EXPECT_FALSE(listener.WaitForConfigEvent(event));  // at once, as it is closed
  EXPECT_FALSE(listener.Open(nullptr));
  EXPECT_FALSE(listener.Open(std::string("nowhere:")));
  Config* const store = Connect(72);
  ASSERT_TRUE(listener.Open(store));
  EXPECT_FALSE(listener.Open(std::string("local:configid=72")));
  EXPECT_FALSE(listener.Open(store));
  store->Set(eParamID_MediaUpdated, 7U);
  store->Set(eParamID_ReelName, std::string("Reel 7"));
  ASSERT_TRUE(listener.WaitForConfigEvent(event));
  EXPECT_EQ(eParamID_MediaUpdated, event.param);
  EXPECT_EQ(eParamType_Enum, event.type);
  EXPECT_EQ(7U, event.value);
  ASSERT_TRUE(listener.WaitForConfigEvent(event));
  EXPECT_EQ(eParamID_ReelName, event.param);
  EXPECT_EQ(eParamType_String, event.type);
  EXPECT_EQ("Reel 7", event.stringValue);
}

TEST(NetworkEventListener, WaitsUntilTheWholeSecondPlusItsTime) {
  NetworkEventListener listener;
  ASSERT_TRUE(listener.Open(Connect(73)));
  listener.SetTimeoutInMS(1500);
  timespec start;
  ::clock_gettime(CLOCK_REALTIME, &start);
  ConfigEvent event;
  CaptureStderr();
  EXPECT_FALSE(listener.WaitForConfigEvent(event));
  EXPECT_EQ("NetworkEventListener::WaitForConfigEvent - Timed out\n", GetCapturedStderr());
  timespec end;
  ::clock_gettime(CLOCK_REALTIME, &end);
  // Not sooner than half a second into the next second after the one it started in.
  const auto ms = [](const timespec& t) { return t.tv_sec * 1000LL + t.tv_nsec / 1000000; };
  EXPECT_GE(ms(end), start.tv_sec * 1000LL + 1500);
}

TEST(NetworkEventListener, LetsItsWaitersGoAtASignal) {
  NetworkEventListener listener;
  ASSERT_TRUE(listener.Open(Connect(74)));
  std::atomic<int> returned{0};
  std::thread signals(
      [&] { EXPECT_TRUE(Eventually([&] { return listener.Signal(), returned == 4; })); });
  OnThreads(4, [&](int) {
    ConfigEvent event;
    EXPECT_FALSE(listener.WaitForConfigEvent(event));
    ++returned;
  });
  signals.join();
}
