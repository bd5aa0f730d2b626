// configctl over message queues, as a technician would use it.
#include <sys/resource.h>

#include "libconfig/libconfig.h"
#include "tests/programs/Programs.h"
#include "tests/testing/Emulator.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Names.h"
#include "tests/testing/Queues.h"

namespace {

// Why configctl, which is a program of its own and has the system's notifications, gets none here;
// null where it does.
#if defined(TEST_NOTIFIES_BY_POLLING) && !defined(PREFER_SYSTEM_NOTIFICATIONS)
const char* const kNotNotified =
    "ThreadSanitizer does not survive notifications, which configctl has here";
#else
const char* const kNotNotified = testing_support::Emulator() == nullptr
                                     ? nullptr
                                     : "the emulator has no notifications of message queues";
#endif

class QueueConfigctl : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = testing_support::WhyNoQueues();
    if (!reason.empty()) GTEST_SKIP() << reason;
    Start();
  }

  std::unique_ptr<Process> Watch(const Process::Words& names) {
    Process::Words command = {"watch", "--timeout", "0.5"};
    command.insert(command.end(), names.begin(), names.end());
    return StartConfigctl(_uri, command);
  }

  void Start() { _daemon = std::make_unique<Daemon>(Process::Words{"--queue", _name}); }
  Outcome Run(const Process::Words& arguments) {
    return testing_support::RunConfigctl(_uri, arguments);
  }

  const std::string _name = testing_support::TestQueueName();
  const std::string _uri = "mq:" + _name;
  std::unique_ptr<Daemon> _daemon;
};

TEST_F(QueueConfigctl, ReadsChangesAndDescribes) {
  ExpectSession(_uri, R"($ get IPConfig
Default Addr
$ set IPConfig DHCP
IPConfig: stored DHCP
$ set IntervalFrames 500
IntervalFrames: stored 120 (asked for 500)
$ get IPConfig SysName
IPConfig = DHCP
SysName = Vantor Rack
)");
  EXPECT_THAT(Run({"describe", "IPAddress", "--json"}).out, HasSubstr("\"now\":\"IPAddress_2\""));
  EXPECT_THAT(Run({"status"}).out,
              MatchesRegex(_uri + " is there: connected in [^\n]*\n21 round trips: [^\n]*\n"
                                  "limits here: RLIMIT_MSGQUEUE is [^\n]*\n"));
  EXPECT_THAT(Run({"status", "--json"}).out, HasSubstr("\"msg_max\":256"));
}

TEST_F(QueueConfigctl, SaysWhatDoesNotFitIntoAMessage) {
  const std::string longest(443, 'x');
  EXPECT_EQ(0, Run({"set", "SysName", longest, "--force"}).status);
  EXPECT_EQ(longest + "\n", Run({"get", "SysName"}).out);
  ExpectSession(_uri, "1$ set --force SysName x" + longest + R"(
configctl: the value for SysName does not fit into a message; texts may have up to 443 bytes there, and more over the daemon's tcp:// URI
$ set --force --uri )" + _daemon->GetURI() +
                          " SysName x" + longest + "\nSysName: stored x" + longest + R"(
1$ get SysName
configctl: URI has no value for SysName; it may have more than 443 bytes, which the daemon's tcp:// URI tells
)");
  // Nothing is left out in silence.
  EXPECT_EQ(1, Run({"export"}).status);
}

TEST_F(QueueConfigctl, TellsADaemonThatDiedFromOneThatEndedAndOneThatStandsStill) {
  ExpectSession(_uri, R"(2$ --mapped get IPAddress
configctl: proxies cannot be followed over message queues; leave out --mapped, or name the daemon's tcp:// URI
2$ --config 1 get IPConfig
configctl: over message queues there is configuration 0 only; name the daemon's tcp:// URI for --config 1
2$ get IPConfig --uri mq:corewheel
configctl: --uri mq:corewheel: a queue is named /NAME; write it like mq: or mq:/corewheel
)");
  _daemon->GetProcess().Kill(SIGSTOP);
  ExpectSession(_uri, R"(4$ get IPConfig --timeout 0.5
configctl: URI gave no answer within 0.5 seconds while connecting; see whether configd is well there, or wait longer with --timeout
)");
  _daemon->GetProcess().Kill(SIGCONT);
  _daemon->End(SIGKILL);
  ExpectSession(_uri, R"(3$ get IPConfig
configctl: nobody serves URI any more, as its daemon died; start configd again, or name another place with --uri
)");
  Start();
  EXPECT_EQ(0, Run({"get", "IPConfig"}).status);
  _daemon->End(SIGTERM);
  ExpectSession(_uri, R"(3$ get IPConfig
configctl: nobody serves URI; start configd on this machine and see that it says so, or name another place with --uri
)");
}

TEST_F(QueueConfigctl, SaysWhichLimitIsReached) {
  // A limit is the children's too.
  rlimit before;
  ASSERT_EQ(0, ::getrlimit(RLIMIT_MSGQUEUE, &before));
  const rlimit low = {1000, before.rlim_max};
  ASSERT_EQ(0, ::setrlimit(RLIMIT_MSGQUEUE, &low));
  const Outcome outcome = Run({"get", "IPConfig"});
  ::setrlimit(RLIMIT_MSGQUEUE, &before);
  if (outcome.status == 0) GTEST_SKIP() << "this user may raise the limit";
  EXPECT_EQ(3, outcome.status);
  EXPECT_THAT(outcome.err, HasSubstr("RLIMIT_MSGQUEUE is "));
  EXPECT_THAT(outcome.err, HasSubstr("raise the limit with ulimit -q or LimitMSGQUEUE="));
}

TEST_F(QueueConfigctl, WatchesAcrossTheEndOfTheDaemon) {
  if (kNotNotified != nullptr) GTEST_SKIP() << kNotNotified;
  const auto watch = Watch({"IPConfig", "SysName"});
  watch->WaitForLine("SysName: \"Vantor Rack\"");
  EXPECT_EQ(0, Run({"set", "IPConfig", "DHCP"}).status);
  watch->WaitForLine("IPConfig: Default Addr (0) -> DHCP (1)");
  for (const int signal : {SIGKILL, SIGTERM}) {
    _daemon->End(signal);
    EXPECT_EQ("configctl: " + _uri + " has gone away; waiting for it to come back",
              watch->WaitForErrorLine());
    Start();
    EXPECT_EQ("configctl: " + _uri + " is back", watch->WaitForErrorLine());
    watch->WaitForLine("IPConfig: DHCP (1) -> Default Addr (0)");
    EXPECT_EQ(0, Run({"set", "IPConfig", "DHCP"}).status);
    watch->WaitForLine("IPConfig: Default Addr (0) -> DHCP (1)");
  }
  watch->Kill(SIGTERM);
  EXPECT_EQ(0, watch->Wait());
  const uint32_t id = static_cast<uint32_t>(watch->GetPid()) << 16;
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_FALSE(TestQueue::Existing(ConnectionUtilities::GetQueueName(id + i)).IsOpen());
  }
}

// One that stands still while changes fill its queue hears of the latest when it goes on.
TEST_F(QueueConfigctl, WatchesOnAfterItsQueueWasFull) {
  if (kNotNotified != nullptr) GTEST_SKIP() << kNotNotified;
  const auto watch = Watch({"IntervalTime"});
  watch->WaitForLine("IntervalTime: ");
  watch->Kill(SIGSTOP);
  Config* const network = ConfigFactoryImpl::GetInstance()->Connect(_daemon->GetURI());
  ASSERT_NE(nullptr, network);
  for (unsigned i = 1000; i < 1300; ++i) network->Set(eParamID_IntervalTime, i);
  EXPECT_EQ(1299U, network->Get(eParamID_IntervalTime));
  EXPECT_TRUE(_daemon->WaitForOutput("hears only the latest changes"));
  watch->Kill(SIGCONT);
  watch->WaitForLine("-> 1299 s");
  network->Set(eParamID_IntervalTime, 1300U);
  watch->WaitForLine("1299 s -> 1300 s");
  ConfigFactoryImpl::GetInstance()->Disconnect(network);
}

}  // namespace
