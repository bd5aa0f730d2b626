// The daemon that forgets nothing: killed, ended, without space, and told to keep nothing.
#include <arpa/inet.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <thread>

#include "configd/state/Sector.h"
#include "libconfig/libconfig.h"
#include "tests/testing/Daemon.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"

namespace fs = std::filesystem;

namespace {

class Client {
 public:
  explicit Client(const Daemon& daemon, int configID = 0) {
    CreateDescriptors();
    _config = ConfigFactoryImpl::GetInstance()->Connect(daemon.GetURI() +
                                                        "/configid=" + std::to_string(configID));
    EXPECT_NE(nullptr, _config);
  }
  ~Client() { ConfigFactoryImpl::GetInstance()->Disconnect(_config); }

  Config* operator->() { return _config; }
  std::map<eParam_t, std::string> ReadAll() {
    std::map<eParam_t, std::string> values;
    for (const eParam_t id : GetParamIDs()) {
      const bool isText = FindDescriptor(id)->GetParamType() == eParamType_String;
      if (!isText) values[id] = std::to_string(_config->Get(id));
      if (isText) _config->Get(id, values[id]);
    }
    return values;
  }
  // Returns when the store has it.
  void Name(const std::string& name) {
    _config->Set(eParamID_SysName, name);
    EXPECT_EQ(name, GetName());
  }
  std::string GetName() {
    std::string name;
    _config->Get(eParamID_SysName, name);
    return name;
  }

 private:
  Config* _config;
};

// Somebody who counts up in a parameter and reads back, until the daemon is gone.
class Counter {
 public:
  explicit Counter(const Daemon& daemon)
      : _client([this, &daemon] {
          Client config(daemon);
          unsigned int read = 0;
          for (unsigned int i = 2; config->Set(eParamID_IntervalFrames, i) != 0; ++i) {
            if (config->Get(eParamID_IntervalFrames, read) == 0) break;
            _last = read;
            std::this_thread::sleep_for(std::chrono::microseconds(200));
          }
        }) {}
  // The last value that was read back.
  unsigned int GetLast() const { return _last; }
  unsigned int End() {
    _client.join();
    return _last;
  }

 private:
  std::atomic<unsigned int> _last{1};
  std::thread _client;
};

}  // namespace

// What was read back a second before is there, whenever it is killed.
TEST(Persistence, OutlivesBeingKilledAtAnyMoment) {
  const Folder folder;
  Daemon daemon({"--state", folder.GetPath()});
  Counter counter(daemon);
  std::this_thread::sleep_for(std::chrono::milliseconds(300 + std::random_device()() % 300));
  const unsigned int safe = counter.GetLast();
  std::this_thread::sleep_for(std::chrono::milliseconds(1000));
  daemon.End(SIGKILL);
  const unsigned int last = counter.End();
  Daemon next({"--state", folder.GetPath()});
  const unsigned int saved = Client(next)->Get(eParamID_IntervalFrames);
  EXPECT_GE(saved, safe);
  EXPECT_LE(saved, last + 1);
}

TEST(Persistence, OutlivesADaemonThatIsKilled) {
  const Folder folder;
  {
    Daemon daemon({"--state", folder.GetPath()});
    Client(daemon).Name("Edit 7");
    Client(daemon, 5).Name("Edit 8");
    EXPECT_TRUE(Eventually(
        [&] { return fs::exists(folder / "config-0.a") && fs::exists(folder / "config-5.a"); }));
    daemon.End(SIGKILL);
  }
  Daemon daemon({"--state", folder.GetPath()});
  EXPECT_EQ("Edit 7", Client(daemon).GetName());
  EXPECT_EQ("Edit 8", Client(daemon, 5).GetName());
  // The change log tells no changes: nothing was set, it was so.
  EXPECT_THAT(daemon.GetOutput(), Not(HasSubstr("Edit 7")));
}

// Every parameter is set where it can be, and the next daemon has what each descriptor promises.
TEST(Persistence, KeepsWhatTheDescriptorsSayAndNothingElse) {
  const Folder folder;
  std::map<eParam_t, std::string> fresh;
  std::map<eParam_t, std::string> changed;
  {
    const Daemon daemon({"--state", folder.GetPath()});
    Client client(daemon);
    fresh = client.ReadAll();
    for (const eParam_t id : GetParamIDs()) {
      if (auto* const choices = dynamic_cast<EnumDescriptor*>(FindDescriptor(id))) {
        for (const auto& choice : choices->GetEnumValueDescriptors()) {
          if (std::to_string(choice.first) != fresh[id]) client->Set(id, choice.first);
        }
      } else if (dynamic_cast<StringDescriptor*>(FindDescriptor(id)) != nullptr) {
        client->Set(id, std::string("other"));
      } else {
        client->Set(id, fresh[id] == "21" ? 22U : 21U);  // no preset that the registers know
      }
    }
    changed = client.ReadAll();
  }
  const Daemon daemon({"--state", folder.GetPath()});
  int different = 0;
  for (const auto& [id, value] : Client(daemon).ReadAll()) {
    const ParamDescriptor& param = *FindDescriptor(id);
    different += changed[id] != fresh[id] ? 1 : 0;
    EXPECT_EQ(param.GetPersistenceType() == ePersist ? changed[id] : fresh[id], value)
        << param.GetParamIDName();
  }
  EXPECT_GT(different, 180) << "of " << changed.size();
}

TEST(Persistence, SavesBeforeItEnds) {
  const Folder folder;
  ::signal(SIGHUP, SIG_DFL);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    const std::string name = "ended by " + std::to_string(signal);
    Daemon daemon({"--state", folder.GetPath()});
    Client(daemon).Name(name);
    EXPECT_EQ(0, daemon.End(signal));
    Daemon next({"--state", folder.GetPath()});
    EXPECT_EQ(name, Client(next).GetName());
  }
}

// The next daemon has the last value that was read, or the one that was sent after it.
TEST(Persistence, SavesAllThatAClientHasReadBack) {
  const Folder folder;
  for (int round = 0; round < 10; ++round) {
    Daemon daemon({"--state", folder.GetPath()});
    Counter counter(daemon);
    EXPECT_TRUE(Eventually([&] { return counter.GetLast() > 20; }));
    EXPECT_EQ(0, daemon.End(SIGTERM));
    const unsigned int last = counter.End();
    Daemon next({"--state", folder.GetPath()});
    EXPECT_THAT(Client(next)->Get(eParamID_IntervalFrames), ::testing::AnyOf(last, last + 1));
  }
}

TEST(Persistence, HasAPlaceForTheDevicesOwnSettings) {
  const Folder folder;
  Daemon daemon({"--state", folder.GetPath()});
  for (int other = 1; other <= 64; ++other) Client(daemon, other).Name("other");
  Client(daemon).Name("own");
  EXPECT_TRUE(daemon.WaitForOutput("configd: configuration 64 and those that follow are "));
  EXPECT_EQ(0, daemon.End(SIGTERM));
  Daemon next({"--state", folder.GetPath()});
  EXPECT_EQ("own", Client(next).GetName());
}

TEST(Persistence, StartsWhateverBecameOfItsFiles) {
  const Folder folder;
  for (const std::string name : {"one", "two"}) {
    Daemon daemon({"--state", folder.GetPath()});
    Client(daemon).Name(name);
    daemon.End(SIGTERM);
  }
  fs::resize_file(folder / "config-0.b", 100);
  Daemon daemon({"--state", folder.GetPath()});
  EXPECT_EQ("one", Client(daemon).GetName());
  EXPECT_THAT(daemon.GetOutput(), HasSubstr("config-0.b is cut, or longer than it says; it is "
                                            "kept as " +
                                            folder / "config-0.b.damaged-1"));
}

// A peer may have the same file read over and over.
TEST(Persistence, TellsOfItsFilesWithinLimits) {
  const Folder folder;
  Sector sector;
  sector.configID = static_cast<eConfigID_t>(5);
  sector.values.emplace_back(IntegerValue::Create(eParamID_GenLock, eParamType_Enum, 99));
  const std::vector<char> bytes = EncodeSector(std::move(sector));
  folder.Write("config-5.a", std::string(bytes.begin(), bytes.end()));
  Daemon daemon({"--state", folder.GetPath()});
  for (int i = 0; i < 400; ++i) Client(daemon, 5).GetName();
  EXPECT_EQ(0, daemon.End(SIGTERM));
  EXPECT_THAT(daemon.GetOutput(), HasSubstr(" more were left out that begin with \"configd: "
                                            "configuration \""));
}

TEST(Persistence, GoesOnWithoutItsFolderAndSavesWhenItIsBack) {
  const Folder folder;
  const std::string path = folder / "state";
  Daemon daemon({"--state", path});
  fs::rename(path, path + ".away");
  Client client(daemon);
  client.Name("unsaved");
  EXPECT_TRUE(daemon.WaitForOutput("configd: settings cannot be saved: "));
  client.Name("later");
  fs::rename(path + ".away", path);
  EXPECT_TRUE(daemon.WaitForOutput("configd: settings are saved again\n"));
  daemon.End(SIGKILL);
  Daemon next({"--state", path});
  EXPECT_EQ("later", Client(next).GetName());
  fs::remove_all(path);
  Client(next).Name("lost");
  EXPECT_EQ(1, next.End(SIGTERM));
  EXPECT_THAT(next.GetOutput(), HasSubstr("configd: the last changes could not be saved and are "
                                          "lost\n"));
}

// The folder in the way of config-3.a.new fails every save of that one.
TEST(Persistence, LetsNoConfigurationHoldUpTheOthers) {
  const Folder folder;
  Daemon daemon({"--state", folder.GetPath()});
  fs::create_directory(folder / "config-3.a.new");
  Client(daemon, 3).Name("stuck");
  EXPECT_TRUE(
      daemon.WaitForOutput("configd: settings cannot be saved: " + folder / "config-3.a.new"));
  const auto begin = std::chrono::steady_clock::now();
  Client(daemon).Name("saved");
  EXPECT_TRUE(Eventually([&] { return fs::exists(folder / "config-0.a"); }));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
  fs::remove(folder / "config-3.a.new");
  EXPECT_TRUE(daemon.WaitForOutput("configd: settings are saved again\n"));
}

TEST(Persistence, TakesTheFolderFromOthers) {
  const Folder parent;
  const Folder folder;
  fs::permissions(folder.GetPath(), fs::perms::all);
  // What was put there before leads to a file of somebody else.
  parent.Write("theirs", "theirs");
  fs::create_hard_link(parent / "theirs", folder / "config-0.a.new");
  Daemon daemon({"--state", folder.GetPath()});
  Client(daemon).Name("own");
  EXPECT_TRUE(Eventually([&] { return fs::exists(folder / "config-0.a"); }));
  EXPECT_EQ("theirs", parent.Read("theirs"));
  EXPECT_THAT(daemon.GetOutput(),
              HasSubstr("configd: others could write into " + folder.GetPath()));
  EXPECT_EQ(fs::perms(0755), fs::status(folder.GetPath()).permissions());
}

// A peer has much to complain about, and nobody reads the daemon's standard error.
TEST(Persistence, ServesAlthoughNobodyReadsItsErrors) {
  Daemon daemon;
  const std::string udp = "udp" + daemon.GetURI().substr(3);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(std::stoi(daemon.GetPort())));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  for (int i = 0; i < 3000; ++i) {
    ::sendto(fd, "what?", 5, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }
  ::close(fd);
  Config* const config = ConfigFactoryImpl::GetInstance()->Connect(udp);
  ASSERT_NE(nullptr, config);
  EXPECT_EQ(1, config->Set(eParamID_IPConfig, 1U));
  EXPECT_TRUE(ConfigFactoryImpl::GetInstance()->Disconnect(config));
  EXPECT_EQ(0, daemon.End(SIGTERM));
  EXPECT_THAT(daemon.GetOutput(), HasSubstr(" more were left out that begin with "));
}

TEST(Persistence, TakesTheServiceManagersFolderUnlessToldOtherwise) {
  const Folder folder;
  ASSERT_EQ(0, ::setenv("STATE_DIRECTORY", (folder.GetPath() + ":/elsewhere").c_str(), 1));
  {
    Daemon daemon({"--no-state"});
    Client(daemon).Name("forgotten");
    daemon.End(SIGTERM);
    EXPECT_THAT(daemon.GetOutput(), HasSubstr("configd: settings are forgotten when it ends"));
  }
  EXPECT_TRUE(fs::is_empty(folder.GetPath()));
  Client(Daemon()).Name("kept");
  ::unsetenv("STATE_DIRECTORY");
  EXPECT_TRUE(fs::exists(folder / "config-0.a"));
  EXPECT_EQ(2, Daemon({"--state", ""}).Wait()) << "a variable that is not set";
}
