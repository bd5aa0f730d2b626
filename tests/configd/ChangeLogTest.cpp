// The lines about changes: made beside the change, in its order, and written together.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <string>
#include <vector>

#include "configd/ChangeLog.h"
#include "tests/testing/Names.h"

namespace {

using qel::vorlane::config::access::NetworkConnection;
using qel::vorlane::config::access::NetworkPeer;

// Standard output in the place of the writer's: each read answers with one write.
class Output {
 public:
  Output() { EXPECT_EQ(0, ::pipe2(_fds, O_CLOEXEC | O_DIRECT)); }
  ~Output() { ::close(_fds[1]); }
  // A writer that waits for room is let go.
  void StopReading() {
    ::signal(SIGPIPE, SIG_IGN);
    ::close(_fds[0]);
  }
  int GetFd() const { return _fds[1]; }
  // All that is written until it holds `text`, or nothing comes.
  std::string Until(const std::string& text) {
    std::string all;
    for (std::string more = "more"; !more.empty() && all.find(text) == std::string::npos;) {
      all += more = Next();
    }
    return all;
  }
  // What was written at once; empty when nothing comes.
  std::string Next(int milliseconds = 10000) {
    pollfd wanted = {_fds[0], POLLIN, 0};
    if (::poll(&wanted, 1, milliseconds) != 1) return {};
    char text[4096];
    const ssize_t count = ::read(_fds[0], text, sizeof text);
    return std::string(text, count < 0 ? 0 : static_cast<std::size_t>(count));
  }
  bool IsQuiet() { return Next(0).empty(); }

 private:
  int _fds[2];
};

// Its name is not to be asked for before the change is done.
struct LateName : NetworkPeer {
  explicit LateName(std::shared_future<void> changed)
      : NetworkPeer(1, "192.0.2.7:4711", 0), _changed(std::move(changed)) {}
  std::string Describe() override {
    EXPECT_EQ(std::future_status::ready, _changed.wait_for(std::chrono::seconds(5)));
    return NetworkPeer::Describe();
  }
  const std::shared_future<void> _changed;
};

struct Peer : NetworkConnection {
  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t, unsigned int, timeval) override {}
  void ParamChanged(eParam_t, std::string, timeval) override {}
  std::shared_ptr<NetworkPeer> GetPeer() override {
    return std::make_shared<LateName>(_changed.get_future().share());
  }
  void Set(Config& store, eParam_t param, unsigned int value) {
    const Working working(this);
    store.Set(param, value);
    _changed.set_value();
  }
  std::promise<void> _changed;
};

class ChangeLogTest : public ::testing::Test {
 protected:
  ChangeLogTest() {
    CreateDescriptors();
    _store.Init();
  }
  ~ChangeLogTest() override {
    _store.RemoveConfigEventListener(_log.get());
    _output.StopReading();
  }
  void Listen() {
    _log = std::make_unique<ChangeLog>(_store, _out);
    _store.AddConfigEventListener(_log.get());
  }

  Output _output;
  LineWriter _out{_output.GetFd()};
  ConfigManager _store{static_cast<eConfigID_t>(4)};
  std::unique_ptr<ChangeLog> _log;
};

}  // namespace

TEST_F(ChangeLogTest, TellsOfChangesInTheirOrderAndAllThatWaitAtOnce) {
  Listen();
  Peer().Set(_store, eParamID_IPConfig, 1);
  EXPECT_THAT(_output.Next(), EndsWith("  configuration 4  IPConfig: Default Addr (0) -> DHCP (1)  "
                                       "by 192.0.2.7:4711\n"));
  _store.Set(eParamID_SysName, std::string(150, 'n') + std::string(150, '\n'));
  _store.Set(eParamID_IPConfig, 1U);  // no change
  _store.Set(eParamID_SysName, std::string("n"));
  const std::string lines = _output.Next();
  EXPECT_THAT(lines, HasSubstr("  SysName: \"Vantor Rack\" -> \"nnn"));
  EXPECT_THAT(lines, HasSubstr("\\x0a\"... (300 bytes)\n"));
  EXPECT_THAT(lines, EndsWith("\\x0a\"... (300 bytes) -> \"n\"\n"));
  EXPECT_THAT(lines, Not(HasSubstr("IPConfig")));
}

// A line that nobody can write, or that takes long to make, holds nobody up.
TEST_F(ChangeLogTest, IsWrittenBesideTheChanges) {
  std::promise<void> begun;
  std::promise<void> go;
  _out.Write([&] {
    begun.set_value();
    go.get_future().wait();
    return "made";
  });
  begun.get_future().wait();
  Listen();
  for (unsigned int i = 0; i < 10100; ++i) _store.Set(eParamID_IPConfig, (i + 1) % 2);
  EXPECT_TRUE(_output.IsQuiet());
  go.set_value();
  EXPECT_EQ("made\n", _output.Next());
  std::string all;
  while (all.find("printed") == std::string::npos) {
    const std::string more = _output.Next();
    ASSERT_NE("", more);
    all += more;
  }
  EXPECT_EQ(10000, std::count(all.begin(), all.end(), '>'));
  EXPECT_THAT(all, EndsWith("configd: 100 changes are missing here, as they came faster than they "
                            "could be printed\n"));
}

TEST_F(ChangeLogTest, PausesBetweenWritesUnlessFlushed) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 3; ++i) {
    _out.Write("line");
    EXPECT_EQ("line\n", _output.Next());
  }
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(200));
  _out.Write("last");
  EXPECT_TRUE(_output.IsQuiet());
  const auto flush = std::chrono::steady_clock::now();
  _out.Flush(std::chrono::seconds(10));
  EXPECT_EQ("last\n", _output.Next(0));
  EXPECT_LT(std::chrono::steady_clock::now() - flush, std::chrono::milliseconds(90));
}

// A store announces what is set on a parameter of the other kind, and stores nothing.
TEST_F(ChangeLogTest, TellsOfWhatWasStored) {
  Listen();
  _store.Set(eParamID_SysName, 5U);
  _store.Set(eParamID_IPConfig, std::string("x"));
  _store.Set(eParamID_IPConfig, 1U);
  EXPECT_THAT(_output.Next(),
              EndsWith("  configuration 4  IPConfig: Default Addr (0) -> DHCP (1)\n"));
  EXPECT_TRUE(_output.Next(200).empty());
}

TEST_F(ChangeLogTest, LimitsWhatAPeerCanCauseOverAndOver) {
  std::promise<void> go;
  _out.Write([&] {
    go.get_future().wait();
    return "begun";
  });
  for (int i = 0; i < 300; ++i) _out.WriteLimited("bad datagram " + std::to_string(i));
  _out.WriteLimited("another");
  for (int i = 0; i < 11000; ++i) _out.Write([] { return "change"; });
  _out.Write("cannot save");
  go.set_value();
  std::string all = _output.Until("cannot save\n");
  if (all.find("left out") == std::string::npos) all += _output.Until("left out");
  EXPECT_THAT(all, HasSubstr("\nanother\nchange\n"));
  EXPECT_THAT(all, HasSubstr("change\ncannot save\n"));
  EXPECT_THAT(all, HasSubstr(" more were left out that begin with \"bad datagram \"\n"));
  EXPECT_THAT(all, Not(HasSubstr("bad datagram 200\n")));
}
