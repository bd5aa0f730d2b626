// The daemon when memory cannot be had: that costs who asks for it, and nobody else.
#include <sys/resource.h>

#include <fstream>

#include "libconfig/descriptors/Catalogue.h"
#include "tests/testing/Daemon.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"
#include "tests/testing/Queues.h"
#include "tests/testing/Threads.h"

namespace {

constexpr std::chrono::milliseconds kSoon(5000);

class NoMemory : public testing::Test {
 protected:
  void SetUp() override {
#ifdef TEST_SANITIZED
    GTEST_SKIP() << "a sanitizer has an allocator of its own, and takes its memory beforehand";
#endif
    const std::string reason = WhyNoQueues();
    if (!reason.empty()) GTEST_SKIP() << reason;
    Fail(0);
    Start();
    ASSERT_THAT(_daemon->GetOutput(), HasSubstr("configd: ready\n"));
  }

  void Start() {
    _daemon =
        std::make_unique<Daemon>(Process::Words{"--state", _folder / "state", "--queue", _name},
                                 Process::Words{"LD_PRELOAD=" FAILING_ALLOCATIONS_PATH,
                                                "FAIL_ALLOCATIONS=" + _folder / "rate"});
    _port = std::stoi("0" + _daemon->GetPort());
  }
  // So many of 10,000 allocations from some time soon.
  void Fail(int ofTenThousand) { std::ofstream(_folder / "rate") << ofTenThousand << std::flush; }

  // Changes and reads over every way; whatever fails, fails.
  void Trouble(std::chrono::milliseconds time, std::size_t longest) {
    const auto end = std::chrono::steady_clock::now() + time;
    OnThreads(5, [&](unsigned thread) {
      for (uint32_t i = 0; std::chrono::steady_clock::now() < end && IsAlive(); ++i) {
        if (thread == 0) {
          TroubleByQueue(i);
        } else if (thread == 1) {
          TroubleByDatagrams(i);
        } else {
          TroubleByStream(i, longest);
        }
      }
    });
  }
  bool IsAlive() { return !IsInState(std::to_string(_daemon->GetProcess().GetPid()), 'Z'); }
  void TroubleByStream(uint32_t i, std::size_t longest) {
    WirePeer watcher(_port);
    watcher.Send(ConnectionRequest(16, i % 5) + ListenerRequest(48));
    WirePeer peer(_port);
    peer.Send(ConnectionRequest(16, i % 5));
    for (uint32_t k = 1; k <= 10 && peer.Receive(28, 500).size() == 28; ++k) {
      peer.Send(ParamRequest(81, eParamID_MediaUpdated, i + k) +
                SetStringRequest(eParamID_ClipName, std::string(k * longest / 10, 't')) +
                ConnectionRequest(16, i % 5));
    }
    watcher.Receive(1000, 1);
  }
  void TroubleByDatagrams(uint32_t i) {
    Datagrams peer(_port);
    peer.Send(ConnectionRequest(16, i % 3));
    peer.Send(ParamRequest(81, eParamID_IPConfig, i % 3));
    peer.Send(SetStringRequest(eParamID_ClipName, std::string(100 + i % 3000, 'u')));
    peer.Send(ParamRequest(112, eParamID_ClipName));
    peer.Receive(20);
  }
  void TroubleByQueue(uint32_t i) {
    TestQueue requests = TestQueue::Existing(_name);
    TestQueue responses(ConnectionUtilities::GetQueueName(_id));
    requests.Send({16, _id, 0, 0, 0});
    requests.Send({48, _id, 0, 0, 0, 0});
    requests.Send({81, _id, 2, i % 3, 0, eParamID_IPConfig, i % 3, 0, 0});
    requests.Send({80, _id, 3, 0, 0, eParamID_IPConfig, 0, 0, 0});
    for (int k = 0; k < 4; ++k) responses.Receive(5);
    requests.Send({17, _id, 4, 0, 0});
    responses.Receive(5);
  }

  // Over TCP, with its event, over UDP and by queue.
  void ExpectService(const std::string& name) {
    ASSERT_TRUE(IsAlive()) << "ended with " << _daemon->Wait() << _daemon->GetOutput();
    EXPECT_TRUE(Eventually([&] { return WirePeer(_port).Send(ConnectionRequest(16)); }));
    WirePeer watcher(_port, 0);
    watcher.Listen();
    WirePeer peer(_port, 0);
    ASSERT_TRUE(peer.Send(SetStringRequest(eParamID_SysName, name)));
    EXPECT_EQ(name, peer.GetString(eParamID_SysName));
    EXPECT_TRUE(HearsOf(watcher, eParamID_SysName));
    Datagrams datagrams(_port);
    EXPECT_TRUE(Eventually([&] {
      datagrams.Send(ConnectionRequest(16, 0));
      const WordList answer = datagrams.Record(500);
      return !answer.empty() && answer[0] == 32;
    })) << "UDP";
    TestQueue requests = TestQueue::Existing(_name);
    TestQueue responses(ConnectionUtilities::GetQueueName(_id + 1));
    requests.Send({16, _id + 1, 0, 0, 0});
    WordList answer = responses.ReceiveWords();
    EXPECT_EQ(0U, answer.size() < 6 ? 1 : answer[5]) << "queue";
    requests.Send({17, _id + 1, 0, 0, 0});
    responses.Receive();
  }
  // Behind those of what was sent before.
  static bool HearsOf(WirePeer& watcher, uint32_t param) {
    for (;;) {
      const WordList event = watcher.Record(11, kSoon.count());
      if (event.empty() || event[6] == param) return !event.empty();
      watcher.Receive(event[9]);
    }
  }
  // After a kill, as an end would save once more.
  void ExpectSaved(const std::string& name) {
    const auto holds = [&](const char* bank) {
      std::ifstream file(_folder / "state" + bank);
      return std::string(std::istreambuf_iterator<char>(file), {}).find(name) != std::string::npos;
    };
    EXPECT_TRUE(Eventually([&] { return holds("/config-0.a") || holds("/config-0.b"); }));
    EXPECT_EQ(128 + SIGKILL, _daemon->End(SIGKILL)) << _daemon->GetOutput();
    Start();
    EXPECT_EQ(name, WirePeer(_port, 0).GetString(eParamID_SysName));
  }

  const Folder _folder;
  const std::string _name = TestQueueName() + "_memory";
  const uint32_t _id = (static_cast<uint32_t>(::getpid()) << 16) + 0x8000;
  std::unique_ptr<Daemon> _daemon;
  int _port = 0;
};

}  // namespace

TEST_F(NoMemory, NowAndThenCostsOnlyWhoAsks) {
  for (const int ofTenThousand : {10, 100, 1000}) {
    Fail(ofTenThousand);
    Trouble(std::chrono::seconds(2), 7000);
    Fail(0);
    Trouble(std::chrono::milliseconds(200), 7000);  // until that is noticed
    ExpectService("after " + std::to_string(ofTenThousand));
    if (HasFailure()) FAIL() << _daemon->GetOutput().substr(0, 3000);
  }
  ExpectSaved("after 1000");
}

TEST_F(NoMemory, BeyondALimitCostsOnlyWhoAsks) {
  std::ifstream file("/proc/" + std::to_string(_daemon->GetProcess().GetPid()) + "/statm");
  rlim_t pages = 0;
  file >> pages;
  const rlim_t size = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + (8 << 20);
  rlimit limit = {size, RLIM_INFINITY};
  ASSERT_EQ(0, ::prlimit(_daemon->GetProcess().GetPid(), RLIMIT_AS, &limit, nullptr));
  Trouble(std::chrono::seconds(3), 60000);
  // Others have left some.
  limit.rlim_cur = RLIM_INFINITY;
  ASSERT_EQ(0, ::prlimit(_daemon->GetProcess().GetPid(), RLIMIT_AS, &limit, nullptr));
  ExpectService("after all");
  ExpectSaved("after all");
}
