// The process-wide factory: which URI leads where.

#include "libconfig/access/ConfigCache.h"
#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/access/ConfigURI.h"
#include "libconfig/access/Outcome.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/network/NetworkTCPClient.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Names.h"
#include "tests/testing/TestServer.h"
#include "tests/testing/Threads.h"

namespace {

using qel::config::Outcome;
using qel::vorlane::config::access::NetworkTCPClient;

// A connection, and what was said while it was made.
struct Connected {
  explicit Connected(const std::string& from) : uri(from) {
    CaptureStderr();
    config = ConfigFactoryImpl::GetInstance()->Connect(uri);
    messages = GetCapturedStderr();
  }
  const std::string uri;
  Config* config;
  std::string messages;
};

TEST(ConfigURI, NamesTheDevicesOwnService) {
  EXPECT_EQ("socket://127.0.0.1:43110/caching=true", GetConfigURI("socket"));
  EXPECT_EQ("socket://127.0.0.1:43110", GetEventsURI("socket"));
  EXPECT_EQ("udp://127.0.0.1:43110", GetConfigURI("udp"));
  EXPECT_EQ("multicast://127.0.0.1:63110", GetEventsURI("udp"));
  EXPECT_EQ("tcp://127.0.0.1:43110", GetConfigURI("tcp"));
  EXPECT_EQ("tcp://127.0.0.1:43110", GetEventsURI("tcp"));
  for (const char* const other : {"TCP", "", "tcp ", "multicast"}) {
    EXPECT_EQ("INVALID_URI", GetConfigURI(other)) << other;
    EXPECT_EQ("INVALID_URI", GetEventsURI(other)) << other;
  }
}

TEST(ConfigFactory, LeadsLocalURIsToTheStoresOfTheProcess) {
  ConfigFactoryImpl* const factory = ConfigFactoryImpl::GetInstance();
  const Connected local("local:configid=6");
  EXPECT_NE(nullptr, dynamic_cast<ConfigManager*>(local.config));
  EXPECT_EQ(6, local.config->GetConfigID());
  EXPECT_EQ(local.config, Connected("anything local: configid=6/caching=true").config);
  EXPECT_EQ(1, factory->Disconnect(local.config));
  EXPECT_EQ(1, factory->Disconnect(local.config));
  EXPECT_EQ(0, factory->Disconnect(local.config));
  EXPECT_EQ(0, factory->Disconnect(nullptr));
}

TEST(ConfigFactory, RefusesWhatItDoesNotKnowWithoutAWord) {
  for (const std::string uri : {"", "socket://127.0.0.1:43110", "LOCAL:", "tcp", "INVALID_URI"}) {
    const Connected none(uri);
    EXPECT_EQ(nullptr, none.config) << uri;
    EXPECT_EQ("", none.messages) << uri;
  }
}

TEST(ConfigFactory, LeadsNetworkURIsToAClientOrACacheAroundOne) {
  const TestServer server;
  ConfigFactoryImpl* const factory = ConfigFactoryImpl::GetInstance();
  const Connected client(server.GetURI() + "/local:");
  EXPECT_NE(nullptr, dynamic_cast<NetworkTCPClient*>(client.config)) << "the network comes first";
  EXPECT_EQ(1, factory->Disconnect(client.config));
  EXPECT_EQ(0, factory->Disconnect(client.config)) << "gone, and not to be touched";

  const Connected cached(server.GetURI() + "/caching=true");
  std::unique_ptr<ConfigCache> cache(dynamic_cast<ConfigCache*>(cached.config));
  ASSERT_NE(nullptr, cache);
  EXPECT_EQ(0, factory->Disconnect(cache.get())) << "a cache is given back by deleting it";
  EXPECT_EQ(eConfigID_Default, cache->GetConfigID());
}

TEST(ConfigFactory, KeepsACacheCurrentThatAsksForEvents) {
  const TestServer server;
  Config* const store = Connected("local:configid=7").config;
  const std::string option = "/configid=7/caching=true";
  const Connected connected(server.GetURI() + option + "/events=true");
  EXPECT_EQ(Outcome::kDone, qel::config::LastOutcome());
  auto cache = std::unique_ptr<ConfigCache>(dynamic_cast<ConfigCache*>(connected.config));
  ASSERT_NE(nullptr, cache);
  std::atomic<bool> stop{false};
  std::thread traffic([&] {
    for (unsigned int i = 1; !stop; i = i % 80000 + 1) store->Set(eParamID_IntervalTime, i);
  });
  for (int i = 0; i < 10; ++i) {
    cache.reset();
    cache.reset(dynamic_cast<ConfigCache*>(Connected(connected.uri).config));
    const unsigned int seen = cache->Get(eParamID_IntervalTime);
    EXPECT_TRUE(Eventually([&] { return cache->Get(eParamID_IntervalTime) != seen; }));
  }
  stop = true;
  traffic.join();
  cache.reset();
  ConfigFactoryImpl::GetInstance()->Disconnect(store);

  // Nobody can be heard there; the cache comes all the same.
  const TestServer datagrams(SOCK_DGRAM);
  for (const std::string& place : {datagrams.GetURI(), std::string("tcp:")}) {
    const std::string uri = place + "/caching=true/events=true";
    const Connected deaf(uri);
    EXPECT_NE(Outcome::kDone, qel::config::LastOutcome());
    EXPECT_THAT(deaf.messages, EndsWith("the cache hears no events, uri = " + uri + "\n"));
    delete dynamic_cast<ConfigCache*>(deaf.config);
  }
}

TEST(ConfigFactory, ReportsANetworkConnectionThatFails) {
  const std::string failed = "ConfigFactoryImpl::Connect - _network_factory->Connect() failed\n";
  for (const std::string uri : {"tcp:", "tcp://127.0.0.1", "tcp://127.0.0.1:0", "local:tcp:"}) {
    const Connected none(uri);
    EXPECT_EQ(nullptr, none.config) << uri;
    EXPECT_THAT(none.messages, EndsWith(failed));
  }
  const Connected wrapped("tcp:/caching=true");
  EXPECT_THAT(wrapped.messages, Not(EndsWith(failed)));
  const std::unique_ptr<ConfigCache> cache(dynamic_cast<ConfigCache*>(wrapped.config));
  ASSERT_NE(nullptr, cache);
  EXPECT_EQ(0, cache->Set(eParamID_IntervalTime, 1U));
}

TEST(ConfigFactory, IsOneForAllThreadsAndLeavesStoresUsableWhenItGoes) {
  ConfigFactoryImpl::DestroyInstance();
  ConfigFactoryImpl::DestroyInstance();
  ConfigFactoryImpl* seen[4] = {};
  OnThreads(4, [&](int i) { seen[i] = ConfigFactoryImpl::GetInstance(); });
  for (ConfigFactoryImpl* const factory : seen) EXPECT_EQ(seen[0], factory);
  Config* const store = Connected("local:configid=8").config;
  ConfigFactoryImpl::DestroyInstance();
  EXPECT_EQ(1, store->Set(eParamID_IntervalTime, 3U));
  EXPECT_NE(store, Connected("local:configid=8").config);
  CaptureStderr();
  EXPECT_EQ(0, ConfigFactoryImpl::GetInstance()->Disconnect(store));
  EXPECT_EQ("LocalConfigFactory::Disconnect - This instance not tracking configID 8\n",
            GetCapturedStderr());
}

}  // namespace
