// The stores of one process, as their factory hands them out.
#include <malloc.h>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/manager/LocalConfigFactory.h"
#include "libconfig/values/IntegerValue.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

namespace {

using qel::config::access::LocalConfigFactory;

// Says what the body wrote to standard error.
template <typename Body>
std::string Messages(Body body) {
  CaptureStderr();
  body();
  return GetCapturedStderr();
}

class LocalConfigFactoryTest : public ::testing::Test {
 protected:
  LocalConfigFactoryTest() { CreateDescriptors(); }

  ConfigManager* Connect(const std::string& address) {
    Config* config = nullptr;
    Messages([&] { config = _factory.Connect(address); });
    return dynamic_cast<ConfigManager*>(config);
  }

  LocalConfigFactory _factory;
};

TEST_F(LocalConfigFactoryTest, ReadsTheNumberOfAConfiguration) {
  const std::pair<const char*, int> cases[] = {
      {"local:", 0},
      {"local:priority=3&configid=12/caching=true", 12},
      {"configid=-4", -4},
      {"configid= 9", 9},
      {"configid=abc", 0},
      {"configid=", 0},
      {"ConfigID=7", 0},
      {"configid=2147483648", INT32_MAX},
      {"configid=-99999999999999999999", INT32_MIN},
  };
  for (const auto& [address, number] : cases) {
    EXPECT_EQ(number, _factory.GetConfigID(address)) << address;
  }
}

TEST_F(LocalConfigFactoryTest, SharesAStoreAsLongAsSomebodyIsConnected) {
  ConfigManager* const store = Connect("local:configid=3");
  ASSERT_NE(nullptr, store);
  EXPECT_EQ(3, store->GetConfigID());
  EXPECT_EQ(store, Connect("configid=3"));
  EXPECT_EQ(2, store->GetUseCount());
  ConfigManager* const other = Connect("local:");
  EXPECT_NE(store, other);
  EXPECT_EQ(0, other->GetConfigID());

  store->Set(eParamID_IntervalTime, 55U);
  EXPECT_EQ("", Messages([&] { EXPECT_TRUE(_factory.Disconnect(store)); }));
  EXPECT_EQ(55U, store->Get(eParamID_IntervalTime));
  auto* value = dynamic_cast<IntegerValue*>(store->GetSerializable(eParamID_IntervalTime));
  EXPECT_TRUE(_factory.Disconnect(store));
  unsigned int number = 0;
  value->Get(number);
  EXPECT_EQ(55U, number) << "a value outlives its store";

  ConfigManager* const next = Connect("local:configid=4");
  EXPECT_EQ(10U, next->Get(eParamID_IntervalTime)) << "nothing is kept between two stores";
  value->Set(77);
  EXPECT_EQ(10U, next->Get(eParamID_IntervalTime)) << "and nobody else holds its values";
  value = dynamic_cast<IntegerValue*>(next->GetSerializable(eParamID_IntervalTime));
  EXPECT_EQ(4, value->GetConfigID());
  EXPECT_TRUE(_factory.Disconnect(next));
  EXPECT_TRUE(_factory.Disconnect(other));
}

TEST_F(LocalConfigFactoryTest, MakesUsedValuesAsGoodAsNew) {
  const auto dirtyIn = [&](const std::string& address) {
    ConfigManager* const store = Connect(address);
    auto* const value = dynamic_cast<IntegerValue*>(store->GetSerializable(eParamID_IntervalTime));
    const bool dirty = value->IsDirty();
    value->SetParamType(eParamType_Unknown);
    value->SetDirty(!dirty);
    EXPECT_TRUE(_factory.Disconnect(store));
    return dirty;
  };
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(dirtyIn("configid=4")) << "a new value changes from configuration 0 to 4";
    EXPECT_TRUE(dirtyIn("configid=4"));
    EXPECT_FALSE(dirtyIn("configid=0"));
  }
  ConfigManager* const store = Connect("local:");
  EXPECT_EQ(
      eParamType_Integer,
      dynamic_cast<ConfigValue*>(store->GetSerializable(eParamID_IntervalTime))->GetParamType());
  EXPECT_TRUE(_factory.Disconnect(store));
}

TEST_F(LocalConfigFactoryTest, TakesBackOnlyItsOwnStores) {
  ConfigManager* const store = Connect("local:configid=3");
  LocalConfigFactory another;
  EXPECT_EQ("LocalConfigFactory::Disconnect - This instance not tracking configID 3\n",
            Messages([&] { EXPECT_FALSE(another.Disconnect(store)); }));
  Messages([&] { another.Connect("local:configid=3"); });
  EXPECT_EQ("LocalConfigFactory::Disconnect - This instance not tracking configID 3\n",
            Messages([&] { EXPECT_FALSE(another.Disconnect(store)); }))
      << "the number is known here, the store is not";
  EXPECT_EQ(1, store->GetUseCount());

  EXPECT_TRUE(_factory.Disconnect(store));
  alignas(void*) char noConfig[sizeof(ConfigManager)] = {};
  EXPECT_EQ("", Messages([&] {
              EXPECT_FALSE(_factory.Disconnect(nullptr));
              EXPECT_FALSE(_factory.Disconnect(store)) << "gone, and not to be touched";
              EXPECT_FALSE(_factory.Disconnect(reinterpret_cast<Config*>(noConfig)));
            }));
}

TEST_F(LocalConfigFactoryTest, MayBeGivenBackFromInsideACall) {
  ConfigManager* const store = Connect("local:");
  ActingListener leaving([&] { EXPECT_TRUE(_factory.Disconnect(store)); });
  store->AddConfigEventListener(&leaving);
  EXPECT_EQ(1, store->Set(eParamID_IntervalTime, 3U));
  EXPECT_EQ(1U, leaving.GetHeard().size());
  EXPECT_EQ(1, Connect("local:")->GetUseCount()) << "a new store";
}

TEST_F(LocalConfigFactoryTest, DoesNotGrowByConnectingOverAndOver) {
  const auto connectOften = [&](int times) {
    for (int i = 0; i < times; ++i) {
      Config* const one = _factory.Connect("local:configid=" + std::to_string(i));
      Config* const other = _factory.Connect("local:configid=-1");
      one->Set(eParamID_SysName, std::to_string(i));
      EXPECT_TRUE(_factory.Disconnect(other));
      EXPECT_TRUE(_factory.Disconnect(one));
    }
  };
  Messages([&] {
    connectOften(100);  // more than wait for their configuration
    const auto before = ::mallinfo2();
    connectOften(5000);
    const auto after = ::mallinfo2();
    EXPECT_LE(after.uordblks, before.uordblks + 64 * 1024);
    EXPECT_LE(after.arena + after.hblkhd, before.arena + before.hblkhd + 1024 * 1024);
  });
}

// Takes its time with configuration 7, and refuses it first.
struct SlowObserver : qel::config::access::StoreObserver {
  SlowObserver() { LocalConfigFactory::SetStoreObserver(this); }
  ~SlowObserver() override { LocalConfigFactory::SetStoreObserver(nullptr); }
  bool StoreOpened(ConfigManager& store) override {
    if (store.GetConfigID() != 7) return true;
    const bool refused = opened++ == 0;
    EXPECT_TRUE(Eventually([&] { return go.load(); }));
    return !refused;
  }
  void StoreClosing(ConfigManager&) override {}
  std::atomic<int> opened{0};
  std::atomic<bool> go{false};
};

TEST_F(LocalConfigFactoryTest, HoldsUpOnlyThoseWhoWantTheStoreThatIsBeingOpened) {
  SlowObserver observer;
  Messages([&] {
    std::atomic<Config*> stores[2] = {};
    {
      WatchedThread refused([&] { EXPECT_EQ(nullptr, _factory.Connect("configid=7")); });
      ASSERT_TRUE(Eventually([&] { return observer.opened == 1; }));
      WatchedThread first([&] { stores[0] = _factory.Connect("configid=7"); });
      WatchedThread second([&] { stores[1] = _factory.Connect("configid=7"); });
      EXPECT_TRUE(first.WaitUntilAsleep() && second.WaitUntilAsleep());
      Config* const other = _factory.Connect("configid=8");
      EXPECT_NE(nullptr, other) << "nobody else waits";
      EXPECT_TRUE(_factory.Disconnect(other));
      EXPECT_EQ(nullptr, _factory.ConnectLiving(eConfigID_t(7)));
      observer.go = true;
    }
    EXPECT_EQ(2, observer.opened);
    EXPECT_EQ(stores[0].load(), stores[1].load());
    ASSERT_NE(nullptr, stores[0].load());
    EXPECT_EQ(2, static_cast<ConfigManager*>(stores[0].load())->GetUseCount());
    for (Config* const store : stores) EXPECT_TRUE(_factory.Disconnect(store));
  });
}

TEST_F(LocalConfigFactoryTest, ServesManyThreadsAtOnce) {
  Messages([&] {
    OnThreads(4, [&](int thread) {
      for (int i = 0; i < 50; ++i) {
        Config* const own = _factory.Connect("local:configid=" + std::to_string(thread));
        Config* const shared = _factory.Connect("local:configid=99");
        EXPECT_EQ(1, shared->Set(eParamID_IntervalTime, 5U));
        EXPECT_EQ(10U, own->Get(eParamID_IntervalTime));
        EXPECT_TRUE(_factory.Disconnect(shared));
        EXPECT_TRUE(_factory.Disconnect(own));
      }
    });
  });
}

}  // namespace
