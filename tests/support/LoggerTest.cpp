// The trace that a control file switches on. The logger is one for the process, and its file bears
// the name of the program: each test that needs the file starts this program anew under a name of
// its own.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/support/Logger.h"
#include "tests/support/TestClock.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"
#include "tests/testing/Process.h"
#include "tests/testing/Threads.h"

namespace {

using qel::logging::Logger;

constexpr char kFolder[] = "/usr/local/bin/";
constexpr auto kUnknown = static_cast<eParam_t>(0x01020a04);

std::string ProgramName() { return std::getenv("LOGGER_TEST_CHILD"); }
std::string ControlFile() { return kFolder + ProgramName() + ".log"; }

// Replaces the control file at once, with a time that differs from the last one's.
void WriteControlFile(const std::string& text, long modified) {
  const std::string fresh = ControlFile() + ".new";
  std::ofstream(fresh) << text;
  const timespec times[2] = {{modified, 0}, {modified, 0}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, fresh.c_str(), times, 0));
  ASSERT_EQ(0, ::rename(fresh.c_str(), ControlFile().c_str()));
}

// "12:34:56.789 [logger_test_1:1] ", the clock being the test's own.
std::string Stamp() { return "12:34:56.789 [" + ProgramName() + "] "; }
std::string ThreadStamp() {
  return "12:34:56.789 [" + ProgramName() + ":" + std::to_string(::syscall(SYS_gettid)) + "] ";
}

class LoggerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (::access(kFolder, W_OK) != 0) GTEST_SKIP() << "no right to write into " << kFolder;
    ::setenv("TZ", "UTC", 1);
    SetClock(12 * 3600 + 34 * 60 + 56, 789000);
    CreateDescriptors();
  }

  // True in a process that bears a name of its own; elsewhere starts one, and expects it to pass.
  static bool InProgramOfItsOwn() {
    if (std::getenv("LOGGER_TEST_CHILD") != nullptr) return true;
    const auto* const info = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter =
        std::string("--gtest_filter=") + info->test_suite_name() + "." + info->name();
    const Folder folder;
    const std::string name = "logger_test_" + std::to_string(::getpid());
    std::filesystem::create_symlink(std::filesystem::read_symlink("/proc/self/exe"), folder / name);
    Process child({folder / name, filter}, {"LOGGER_TEST_CHILD=" + name});
    EXPECT_EQ(0, child.Wait()) << child.GetOutput() << child.GetErrors();
    ::unlink((kFolder + name + ".log").c_str());
    return false;
  }
};

TEST_F(LoggerTest, IsSilentWithoutAControlFile) {
  if (!InProgramOfItsOwn()) return;
  EXPECT_EQ("", MessagesOf([] {
              Logger* const logger = Logger::GetLogger();
              EXPECT_EQ(1, logger->Init());
              EXPECT_FALSE(logger->IsWatching(eParamID_IPConfig));
              logger->Log("text\n");
              logger->Log(eParamID_IPConfig, 1U, "text\n");
            }));
}

TEST_F(LoggerTest, TracesEverythingForAnEmptyFile) {
  if (!InProgramOfItsOwn()) return;
  WriteControlFile("", 1000);
  Logger* logger = nullptr;
  EXPECT_EQ(Stamp() + "Reading " + ControlFile() + "\n" + Stamp() + "Watching *\n",
            MessagesOf([&] { logger = Logger::GetLogger(); }));
  std::string text = "a \"b\" 100%d %%s %";
  EXPECT_EQ(ThreadStamp() + "plain 5% of x\n" + ThreadStamp() + "(eParamID_IPConfig) set\n" +
                ThreadStamp() + "(eParamID_IPConfig:4294967295) set by me\n" + ThreadStamp() +
                "(eParamID_SysName:\"a \"b\" 100%d %s %\") set to 3\n" + ThreadStamp() +
                "(1.2.10.4:0) unknown\n",
            MessagesOf([&] {
              logger->Log("plain %d%% of %s\n", 5, "x");
              logger->Log(eParamID_IPConfig, "set\n");
              logger->Log(eParamID_IPConfig, 0xffffffff, "set by %s\n", "me");
              logger->Log(eParamID_SysName, text, "set to %d\n", 3);
              logger->Log(kUnknown, 0U, "unknown\n");
            }));
  const std::string longText(100000, 'x');
  EXPECT_EQ(ThreadStamp() + longText, MessagesOf([&] { logger->Log("%s", longText.c_str()); }));
}

TEST_F(LoggerTest, TracesTheParametersThatTheFileNames) {
  if (!InProgramOfItsOwn()) return;
  WriteControlFile(
      "watch eParamID_IPConfig\nnonsense\n\nwatch\nwatch eParamID_Nobody\n"
      "  watch   eParamID_SysName extra",
      1000);
  const std::string refused = "Logger::ReadLoggingConfig: Invalid argument\n";
  Logger* logger = nullptr;
  EXPECT_EQ(Stamp() + "Reading " + ControlFile() + "\n" + Stamp() + "Watching eParamID_IPConfig\n" +
                refused + refused + Stamp() +
                "Logger::ReadLoggingConfig - descriptor for eParamID_Nobody not found\n" + Stamp() +
                "Watching eParamID_SysName\n" + refused,
            MessagesOf([&] { logger = Logger::GetLogger(); }));
  EXPECT_TRUE(logger->IsWatching(eParamID_SysName));
  EXPECT_FALSE(logger->IsWatching(eParamID_GenLock));
  EXPECT_EQ(ThreadStamp() + "about nothing in particular\n", MessagesOf([&] {
              std::string text;
              logger->Log(eParamID_GenLock, "no\n");
              logger->Log(eParamID_GenLock, 1U, "no\n");
              logger->Log(eParamID_GenLock, text, "no\n");
              logger->Log("about nothing in particular\n");
            }));
}

TEST_F(LoggerTest, LooksAtTheFileAgainAfterFiveSeconds) {
  if (!InProgramOfItsOwn()) return;
  Logger* const logger = Logger::GetLogger();
  const auto after = [&](long milliseconds) {
    AdvanceClock(milliseconds);
    MessagesOf([] { Logger::GetLogger(); });
    return !logger->IsEnabled()                     ? "off"
           : !logger->IsWatching(eParamID_IPConfig) ? "other"
           : logger->IsWatching(eParamID_SysName)   ? "all"
                                                    : "IPConfig";
  };
  WriteControlFile("watch eParamID_IPConfig\n", 1000);
  EXPECT_STREQ("off", after(5000));
  EXPECT_STREQ("IPConfig", after(1));
  WriteControlFile("watch eParamID_GenLock\n", 2000);
  EXPECT_STREQ("IPConfig", after(5000));
  EXPECT_STREQ("other", after(1)) << "the new list replaces the old";
  WriteControlFile("", 2000);
  EXPECT_STREQ("other", after(6000)) << "only another time is a change";
  WriteControlFile("", 1500);
  EXPECT_STREQ("all", after(6000)) << "an earlier one, too";
  ::unlink(ControlFile().c_str());
  EXPECT_STREQ("all", after(5000));
  EXPECT_STREQ("off", after(1));
  WriteControlFile("", 3000);
  EXPECT_STREQ("all", after(-100000)) << "a clock that was set back holds nothing up";
}

TEST_F(LoggerTest, WritesALineAtATimeWhileItIsReadAnew) {
  if (!InProgramOfItsOwn()) return;
  WriteControlFile("watch eParamID_IPConfig\n", 1000);
  static std::atomic<int> whole{0};
  static std::atomic<int> wrong{0};
  MessagesOf([] { Logger::GetLogger(); });
  qel::config::SetMessageHandler(
      [](void*, const char* text, std::size_t length) {
        const std::string line(text, length);
        if (line.find("] (eParamID_IPConfig:1) line of ") == std::string::npos) return;
        ++(line.find('\n') == line.size() - 1 ? whole : wrong);
      },
      nullptr);
  OnThreads(4, [&](int thread) {
    for (int i = 0; i < 100; ++i) {
      if (thread == 0) WriteControlFile("watch eParamID_IPConfig\n", 2000 + i);
      AdvanceClock(5001);
      Logger::GetLogger()->Log(eParamID_IPConfig, 1U, "line of %d\n", thread);
      for (int look = 0; look < 200; ++look) {
        if (Logger::GetLogger()->IsWatching(eParamID_SysName)) ++wrong;
      }
    }
  });
  EXPECT_LT(0, whole);
  EXPECT_EQ(0, wrong) << "a list that is replaced is never an empty one";
}

TEST_F(LoggerTest, NamesProgramsByTheirCommand) {
  Logger* const logger = Logger::GetLogger();
  const std::string name = logger->GetNameFromPID(::getpid());
  EXPECT_EQ(std::string::npos, name.find('/'));
  EXPECT_EQ(name, logger->GetNameFromPID(::getpid()));
  EXPECT_EQ("", logger->GetNameFromPID(-1));
  std::string missing = "/no/such/file";
  EXPECT_EQ(
      "Logger::ReadLoggingConfig: No such file or directory\n"
      "Logger::ReadLoggingConfig - unable to open /no/such/file\n",
      MessagesOf([&] { EXPECT_EQ(0, logger->ReadConfig(missing)); }));
}

}  // namespace
