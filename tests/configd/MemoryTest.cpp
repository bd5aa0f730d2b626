// The daemon and its memory: what peers bring and take away again, and what becomes of it all when
// there is none.
#include <filesystem>
#include <fstream>

#include "libconfig/libconfig.h"
#include "tests/testing/Daemon.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"
#include "tests/testing/Wire.h"

namespace {

std::size_t ResidentBytes(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/statm");
  std::size_t pages = 0;
  file >> pages >> pages;
  return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

}  // namespace

TEST(Memory, OfTheDaemonIsAsBeforeWhenTheTextsAreGone) {
#ifdef TEST_SANITIZED
  GTEST_SKIP() << "a sanitizer keeps what was freed";
#endif
  CreateDescriptors();
  const Folder folder;
  Daemon daemon({"--state", folder.GetPath(), "--quiet", "--memory", "32MiB"});
  const auto bring = [&](std::size_t size) {
    Bytes texts;
    for (const eParam_t id : GetParamIDs()) {
      if (FindDescriptor(id)->GetParamType() != eParamType_String) continue;
      texts = std::move(texts) + SetStringRequest(id, std::string(size, 'x'));
    }
    std::vector<std::unique_ptr<WirePeer>> peers;
    for (uint32_t i = 0; i < 24; ++i) {
      peers.push_back(std::make_unique<WirePeer>(std::stoi(daemon.GetPort()), i));
      WirePeer& peer = *peers.back();
      peer.Send(texts + ParamRequest(80, eParamID_IPConfig));
      // Behind the refusals of what was too much.
      for (WordList answer; answer.empty() || answer[0] != 96;) answer = peer.Record();
    }
    return ResidentBytes(daemon.GetProcess().GetPid());
  };
  const std::size_t before = bring(1);
  const std::size_t most = bring(60000);
  EXPECT_GT(most, before + (std::size_t{28} << 20));
  EXPECT_LT(most, before + (std::size_t{96} << 20));
  EXPECT_TRUE(daemon.WaitForOutput("more is refused"));
  // What is saved takes memory, too.
  EXPECT_TRUE(Eventually([&] {
    std::uintmax_t saved = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder.GetPath())) {
      std::error_code gone;
      const auto size = file.file_size(gone);
      if (!gone) saved += size;
    }
    return saved > std::uintmax_t{4} << 20;
  }));
  bring(0);
  EXPECT_TRUE(Eventually([&] {
    return ResidentBytes(daemon.GetProcess().GetPid()) < before + (std::size_t{4} << 20);
  }));
}
