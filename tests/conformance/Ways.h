// All ways to reach a store, with what sets them apart.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/access/queue/PosixMQClient.h"
#include "libconfig/access/queue/PosixMQFactory.h"
#include "libconfig/mapping/GetMappingConfig.h"
#include "tests/testing/Daemon.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Queues.h"
#include "tests/testing/RecordingListener.h"
#include "tests/testing/TestServer.h"

namespace testing_support {

enum Trait : unsigned {
  kReads = 1 << 0,                  // answers requests
  kHears = 1 << 1,                  // the changes of a store reach its listeners
  kAnswersNumbers = 1 << 2,         // Set tells whether the store refused a number
  kAnswersTexts = 1 << 3,           // and a text
  kKeepsDuplicates = 1 << 4,        // a listener that is added twice is called twice
  kLendsValues = 1 << 5,            // GetSerializable hands out the value itself
  kTakesRules = 1 << 6,             // preconditions can be added
  kLivesWithoutListeners = 1 << 7,  // removing the last listener leaves the connection usable
  kCached = 1 << 8,                 // is given back by deleting it, and listens to itself
  kMapped = 1 << 9,                 // is given back by deleting it, and announces proxies as well
  kSettles = 1 << 10,               // the event of an earlier change may come behind a later one
  kQueue = 1 << 11,      // reaches configuration 0 of a daemon; Get returns the value that it reads
  kMulticast = 1 << 12,  // hears what is changed over UDP
  kOnSetter = 1 << 13,   // listeners are called by whoever sets, before Set returns
  kThrowingEnds = 1 << 14,  // a listener that throws ends the events
};

struct Way {
  const char* name;
  // Where a Config of this way is asked for; %s and %u are the servers' URIs.
  const char* uri;
  unsigned traits;
  std::size_t longestText = 8000;
};

constexpr unsigned kNetwork = kReads | kHears | kThrowingEnds;
constexpr unsigned kStore =
    kReads | kHears | kKeepsDuplicates | kLendsValues | kLivesWithoutListeners | kOnSetter;
constexpr unsigned kMapping = kReads | kHears | kKeepsDuplicates | kLivesWithoutListeners | kMapped;

constexpr Way kWays[] = {
    {"InProcess", "local:", kStore | kAnswersNumbers | kAnswersTexts | kTakesRules},
    {"Tcp", "%s", kNetwork},
    {"CachedTcp", "%s/caching=true", kNetwork | kCached},
    {"Udp", "%u", kReads | kAnswersNumbers},
    {"CachedUdp", "%u/caching=true", kReads | kAnswersNumbers | kCached},
    {"Multicast", "multicast://127.0.0.1:63110", kHears | kMulticast | kThrowingEnds},
    {"MessageQueue", "mq:",
     kReads | kHears | kAnswersNumbers | kAnswersTexts | kKeepsDuplicates | kLivesWithoutListeners |
         kQueue,
     400},
    {"MappedInProcess",
     "local:", kMapping | kAnswersNumbers | kAnswersTexts | kLendsValues | kTakesRules | kOnSetter},
    {"Mapped", "%s", kMapping | kThrowingEnds},
    {"MappedCached", "%s/caching=true", kMapping | kThrowingEnds | kSettles},
};

inline void PrintTo(const Way& way, std::ostream* out) { *out << way.name; }
inline std::string NameOf(const testing::TestParamInfo<Way>& info) { return info.param.name; }

inline std::vector<Way> WaysThat(unsigned traits) {
  std::vector<Way> ways;
  for (const Way& way : kWays) {
    if ((way.traits & traits) != 0) ways.push_back(way);
  }
  return ways;
}

// A store, a Config that reaches it, and as many more of them as a test asks for.
class ReachedStore : public testing::TestWithParam<Way> {
 protected:
  void SetUp() override {
    // All processes of a device hear each other's multicasts.
    static int number = ::getpid() % 100000 * 1000;
    if (Is(kQueue)) {
      const std::string reason = WhyNoQueues();
      if (!reason.empty()) GTEST_SKIP() << reason;
      const std::string queue = TestQueueName();
      _daemon = std::make_unique<Daemon>(std::vector<std::string>{"--queue", queue, "--quiet"});
      // One for all tests, as it keeps the queue of the daemon that it met first.
      static PosixMQFactory* const factory = new PosixMQFactory(queue);
      _queues = factory;
    } else {
      _number = ++number;
    }
    const std::string store = Is(kQueue)       ? _daemon->GetURI() + "/"
                              : Is(kMulticast) ? _datagramServer.GetURI() + "/"
                                               : "local:";
    _store =
        ConfigFactoryImpl::GetInstance()->Connect(store + "configid=" + std::to_string(_number));
    ASSERT_NE(nullptr, _store);
    _config = Connect();
    ASSERT_NE(nullptr, _config);
  }

  void TearDown() override {
    if (_config != nullptr) GiveBack(_config);
    if (_store != nullptr) ConfigFactoryImpl::GetInstance()->Disconnect(_store);
  }

  bool Is(unsigned traits) const { return (GetParam().traits & traits) != 0; }

  // What Get returns for a value that it read.
  int Read(unsigned int value) const { return Is(kQueue) ? static_cast<int>(value) : 1; }

  std::string GetURI() const {
    std::string uri = GetParam().uri;
    if (uri.compare(0, 2, "%s") == 0) uri.replace(0, 2, _server.GetURI());
    if (uri.compare(0, 2, "%u") == 0) uri.replace(0, 2, _datagramServer.GetURI());
    return uri + "/configid=" + std::to_string(_number);
  }

  Config* Connect() {
    if (Is(kQueue)) return _queues->Connect("");
    if (Is(kMapped)) return GetMappingConfig(GetURI(), false, false);
    return ConfigFactoryImpl::GetInstance()->Connect(GetURI());
  }

  void GiveBack(Config* config) {
    if (Is(kQueue)) {
      _queues->Disconnect(static_cast<PosixMQClient*>(config));
    } else if (Is(kCached | kMapped)) {
      delete config;
    } else {
      EXPECT_EQ(1, ConfigFactoryImpl::GetInstance()->Disconnect(config));
    }
  }

  // A change over the network takes its time to get to the store.
  std::string StoredText() {
    std::string text;
    _store->Get(eParamID_SysName, text);
    return text;
  }

  TestServer _server;
  TestServer _datagramServer{SOCK_DGRAM};
  std::unique_ptr<Daemon> _daemon;
  PosixMQFactory* _queues = nullptr;
  int _number = 0;
  Config* _config = nullptr;
  Config* _store = nullptr;  // to look at the store, and to change it behind the way's back
};

}  // namespace testing_support
