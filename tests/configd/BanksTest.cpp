// What is saved, and what is found again: after every call of a save that fails or is the last one,
// and in files that something has happened to.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/crc.hpp>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "configd/state/Banks.h"
#include "configd/state/StateFolder.h"
#include "configd/state/StoredConfig.h"
#include "tests/configd/FailingCalls.h"
#include "tests/configd/HeldFolder.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"

using testing::AnyOf;
namespace fs = std::filesystem;

namespace {

Sector MakeSector(const std::string& text) {
  Sector sector;
  sector.configID = static_cast<eConfigID_t>(3);
  sector.values.emplace_back(IntegerValue::Create(eParamID_GenLock, eParamType_Enum, 1));
  sector.values.emplace_back(StringValue::Create(eParamID_SysName, eParamType_String, text));
  return sector;
}

// The text, or "nothing"; "damage" for a sector that is not one of MakeSector's.
std::string Describe(const std::optional<Sector>& sector) {
  if (!sector) return "nothing";
  if (sector->values.size() != 2 || sector->configID != 3) return "damage";
  auto* const number = dynamic_cast<IntegerValue*>(sector->values[0].get());
  auto* const text = dynamic_cast<StringValue*>(sector->values[1].get());
  unsigned int value = 0;
  std::string string;
  if (number != nullptr) number->Get(value);
  if (text != nullptr) text->Get(string);
  return value == 1 ? string : "damage";
}

// The banks of configuration 3 in a folder that the daemon has taken hold of.
struct OwnBanks : private HeldFolder, public Banks {
  explicit OwnBanks(const Folder& folder, std::uint64_t quota = StateFolder::kQuota)
      : HeldFolder(folder.GetPath(), quota), Banks(state, "s", static_cast<eConfigID_t>(3)) {}
};

std::string Load(const Folder& folder) { return Describe(OwnBanks(folder).Load()); }

bool Save(const Folder& folder, const std::string& text) {
  OwnBanks banks(folder);
  banks.Load();
  std::string why;
  const bool saved = banks.Save(EncodeSector(MakeSector(text)), why);
  EXPECT_EQ(saved, why.empty());
  return saved;
}

std::vector<std::string> Names(const Folder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder.GetPath())) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// A file that is damaged, but has the checksum of what it holds.
void SetChecksum(std::string& bytes) {
  boost::crc_32_type checksum;
  checksum.process_bytes(bytes.data(), bytes.size() - 4);
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[bytes.size() - 4 + i] = static_cast<char>(checksum.checksum() >> (24 - 8 * i));
  }
}

}  // namespace

TEST(Sector, IsTheseBytes) {
  Sector sector;
  sector.odometer = 5;
  sector.configID = static_cast<eConfigID_t>(3);
  sector.values.emplace_back(IntegerValue::Create(eParamID_GenLock, eParamType_Enum, 1));
  const std::vector<char> bytes = EncodeSector(std::move(sector));
  const unsigned char expected[] = {
      0,    0,    0,    6,   0, 0, 0, 5,  0, 0, 0, 1, 0, 0, 0, 40,              // header
      0,    0,    0,    7,   0, 0, 0, 28, 0, 0, 0, 3,                           // checkpoint
      0,    0,    0,    9,   0, 0, 0, 1,                                        // a list of one
      0,    0,    0,    0,   0, 0, 0, 0,  6, 1, 0, 0, 0, 0, 0, 3,  0, 0, 0, 1,  // value
      0x1d, 0x5d, 0x2c, 0x37};
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(expected), sizeof expected),
            std::string(bytes.begin(), bytes.end()));
}

TEST(Banks, AreWrittenInTurn) {
  const Folder folder;
  EXPECT_EQ("nothing", Load(folder));
  for (const std::string text : {"1", "2", "3", "4", "5"}) {
    EXPECT_TRUE(Save(folder, text));
    EXPECT_EQ(text, Load(folder));
  }
  EXPECT_EQ((std::vector<std::string>{"s.a", "s.b"}), Names(folder));
  // The one before is still there.
  fs::remove(folder / "s.a");
  EXPECT_EQ("4", Load(folder));
  struct stat status;
  ASSERT_EQ(0, ::stat((folder / "s.b").c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 0777);
}

TEST(Banks, CountOnWhenTheOdometerTurnsOver) {
  const Folder folder;
  for (const std::string name : {"s.a", "s.b"}) {
    Sector sector = MakeSector(name);
    sector.odometer = name == "s.a" ? 0xFFFFFFFF : 0;
    const std::vector<char> bytes = EncodeSector(std::move(sector));
    folder.Write(name, std::string(bytes.begin(), bytes.end()));
  }
  EXPECT_EQ("s.b", Load(folder));
  EXPECT_TRUE(Save(folder, "next"));
  EXPECT_EQ("next", Load(folder));
}

TEST(Banks, HoldTheStateBeforeOrTheStateAfterWhateverCallOfASaveFails) {
  for (const Failure failure : {Failure::kError, Failure::kDeath, Failure::kTorn}) {
    int index = 0;
    for (bool reached = true; reached; ++index) {
      const Folder folder;
      ASSERT_TRUE(Save(folder, "older"));
      ASSERT_TRUE(Save(folder, "before"));
      const pid_t child = ::fork();
      if (child == 0) {
        OwnBanks banks(folder);
        banks.Load();
        const std::vector<char> bytes = EncodeSector(MakeSector("after"));
        std::string why;
        FailCall(index, failure);
        const bool saved = banks.Save(bytes, why);
        ::_exit((saved ? 1 : 2) + (testing_support::GetCallCount() > index ? 0 : 10));
      }
      int status = 0;
      ASSERT_EQ(child, ::waitpid(child, &status, 0));
      ASSERT_TRUE(WIFEXITED(status));
      const int result = WEXITSTATUS(status);
      reached = result < 10 || result == testing_support::kDied;
      SCOPED_TRACE("call " + std::to_string(index) + ", result " + std::to_string(result));
      EXPECT_NE(12, result) << "it failed although no call did";
      if (result == 1 || result == 11) {
        EXPECT_EQ("after", Load(folder));
      } else {
        EXPECT_THAT(Load(folder), AnyOf("before", "after"));
      }
      // And it goes on from there.
      EXPECT_TRUE(Save(folder, "later"));
      EXPECT_EQ("later", Load(folder));
      EXPECT_EQ((std::vector<std::string>{"s.a", "s.b"}), Names(folder));
    }
    EXPECT_GT(index, 6);  // open, write, fsync, close, rename, and the folder's
  }
}

TEST(Banks, MoveAsideWhatIsDamagedAndUseTheOther) {
  const Folder sample;
  ASSERT_TRUE(Save(sample, "whole"));
  const std::string whole = sample.Read("s.a");
  std::vector<std::string> wrecks = {"", whole.substr(0, 20), whole.substr(0, whole.size() - 1),
                                     whole + "x", std::string(whole.size(), '\0')};
  for (std::size_t i = 0; i < whole.size(); ++i) {
    wrecks.push_back(whole);
    wrecks.back()[i] = static_cast<char>(wrecks.back()[i] ^ 1 << i % 8);
  }
  // Whole in themselves, and still not what they should be: the version, a record of another class,
  // another configuration, a list that promises more than it holds and one whose last item is cut.
  for (const auto& change : std::vector<std::pair<std::size_t, char>>{
           {11, 0}, {19, 6}, {27, 4}, {31, 7}, {whole.size() - 5, 'x'}}) {
    wrecks.push_back(whole);
    wrecks.back()[change.first] = change.second;
    SetChecksum(wrecks.back());
  }
  for (const std::string& wreck : wrecks) {
    const Folder folder;
    ASSERT_TRUE(Save(folder, "other"));
    ASSERT_TRUE(Save(folder, "newer"));
    folder.Write("s.b", wreck);
    EXPECT_EQ("other", Load(folder));
    EXPECT_EQ(wreck, folder.Read("s.b.damaged-1"));
    EXPECT_TRUE(Save(folder, "next"));
    EXPECT_EQ("next", Load(folder));
  }
}

// Factory values in the place of what a later daemon has saved would be a loss.
TEST(Banks, LeaveAloneWhatALaterVersionWrote) {
  const Folder folder;
  ASSERT_TRUE(Save(folder, "later"));
  std::string later = folder.Read("s.a");
  later[11] = 2;
  SetChecksum(later);
  folder.Write("s.a", later);
  OwnBanks banks(folder);
  EXPECT_EQ("nothing", Describe(banks.Load()));
  EXPECT_THAT(banks.GetUnreadable(), HasSubstr("s.a is of version 2, which this configd does not "
                                               "know: start the configd that wrote it"));
  std::string why;
  EXPECT_FALSE(banks.Save(EncodeSector(MakeSector("own")), why));
  EXPECT_EQ(later, folder.Read("s.a"));
}

TEST(Banks, TakeNoMoreThanTheirShare) {
  const Folder folder;
  OwnBanks banks(folder, 65536);
  banks.Load();
  std::string why;
  EXPECT_TRUE(banks.Save(EncodeSector(MakeSector(std::string(30000, 'x'))), why));
  EXPECT_FALSE(banks.Save(EncodeSector(MakeSector(std::string(30000, 'x'))), why));
  EXPECT_THAT(why, HasSubstr(" KiB, and more is not allowed; remove what is not needed from it"));
  EXPECT_EQ(1U, folder.CountFiles());
}

TEST(Banks, LeaveAloneWhatCannotBeReadForTheMoment) {
  const Folder folder;
  ASSERT_TRUE(Save(folder, "older"));
  ASSERT_TRUE(Save(folder, "newer"));
  OwnBanks banks(folder);
  rlimit limit;
  ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &limit));
  const rlimit none = {3, limit.rlim_max};
  ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
  EXPECT_EQ("nothing", Describe(banks.Load()));
  ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &limit));
  EXPECT_THAT(banks.GetUnreadable(), HasSubstr(" cannot be read: Too many open files"));
  // What nobody has read is not replaced.
  const std::vector<char> next = EncodeSector(MakeSector("next"));
  std::string why;
  EXPECT_FALSE(banks.Save(next, why));
  EXPECT_EQ("newer", Describe(banks.Load()));
  EXPECT_TRUE(banks.Save(next, why));
  EXPECT_EQ((std::vector<std::string>{"s.a", "s.b"}), Names(folder));
}

TEST(Banks, SurviveFoldersAndLinksInTheirPlace) {
  const Folder folder;
  ASSERT_TRUE(Save(folder, "first"));
  fs::create_directory(folder / "s.b");
  EXPECT_EQ("first", Load(folder));
  fs::remove(folder / "s.a");
  fs::create_symlink("/etc/hostname", folder / "s.a");
  EXPECT_EQ("nothing", Load(folder));
  EXPECT_TRUE(Save(folder, "second"));
  EXPECT_EQ("second", Load(folder));
  EXPECT_EQ((std::vector<std::string>{"s.a", "s.a.damaged-1", "s.b.damaged-1"}), Names(folder));
}

TEST(StateFolder, IsOneDaemonsAtATime) {
  const Folder parent;
  const std::string path = parent / "deep/folder";
  std::string why;
  {
    StateFolder first;
    ASSERT_TRUE(first.Open(path, why)) << why;
    StateFolder second;
    EXPECT_FALSE(second.Open(path, why));
    EXPECT_EQ("another configd keeps its settings in " + path +
                  "; stop it, or choose another folder with --state",
              why);
  }
  StateFolder third;
  EXPECT_TRUE(third.Open(path, why));
  parent.Write("file", "x");
  StateFolder none;
  EXPECT_FALSE(none.Open(parent / "file", why));
  EXPECT_THAT(why, HasSubstr("; choose another with --state"));
}

// Another folder at the path, while the first is held: what is saved then counts there.
TEST(StateFolder, IsReplacedWhileItIsHeld) {
  const Folder folder;
  const std::string path = folder / "state";
  const HeldFolder held(path);
  Banks banks = held.state.SettingsOf(static_cast<eConfigID_t>(3));
  banks.Load();
  std::string why;
  const auto save = [&](const std::string& text) {
    return banks.Save(EncodeSector(MakeSector(text)), why);
  };
  for (const std::string text : {"1", "2", "3"}) EXPECT_TRUE(save(text)) << why;
  fs::copy(path, path + ".later");
  fs::rename(path, path + ".first");
  fs::create_directory(path);
  EXPECT_TRUE(save("4")) << why;
  fs::rename(path, path + ".second");
  fs::rename(path + ".later", path);
  fs::permissions(path, fs::perms::all);
  EXPECT_TRUE(save("5")) << why;
  EXPECT_EQ("5", Describe(held.state.SettingsOf(static_cast<eConfigID_t>(3)).Load()));
  EXPECT_EQ(fs::perms(0755), fs::status(path).permissions());
}
