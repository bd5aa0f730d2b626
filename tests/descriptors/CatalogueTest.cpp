// The catalogue's lookups, its menu order, its beginning and its end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/FlashInfo.h"
#include "libconfig/descriptors/GenericCatalogue.h"
#include "tests/testing/Threads.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using testing_support::OnThreads;

constexpr auto kUnknown = static_cast<eParam_t>(0x01020304);

class CatalogueTest : public ::testing::Test {
 protected:
  void SetUp() override { CreateDescriptors(); }
  void TearDown() override { DestroyDescriptors(); }
};

TEST_F(CatalogueTest, IsBuiltOnceUntilItIsDestroyed) {
  const std::vector<eParam_t> ids = GetParamIDs();
  ParamDescriptor* const descriptor = GetDescriptor(eParamID_IPConfig);
  CreateDescriptors();
  EXPECT_EQ(descriptor, GetDescriptor(eParamID_IPConfig));
  EXPECT_EQ(ids, GetParamIDs());
  EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
  EXPECT_FALSE(IsValidParamID(eParamID_None));

  DestroyDescriptors();
  DestroyDescriptors();
  EXPECT_THAT(GetParamIDs(), IsEmpty());
  EXPECT_THAT(GetParamIDNames(), IsEmpty());
  EXPECT_THAT(GetParamGroup(50, false), IsEmpty());
  EXPECT_EQ(nullptr, GetDescriptor("eParamID_IPConfig"));
  CreateDescriptors();
  EXPECT_EQ(ids, GetParamIDs());
}

TEST_F(CatalogueTest, IsFoundWholeByEveryThreadThatBuildsIt) {
  const std::size_t size = GetParamIDs().size();
  DestroyDescriptors();
  OnThreads(4, [size](int) {
    CreateDescriptors();
    EXPECT_EQ(size, GetParamIDs().size());
    EXPECT_NE(nullptr, FindDescriptor(eParamID_GenLock));
  });
  OnThreads(4, [](int thread) { thread % 2 == 0 ? CreateDescriptors() : DestroyDescriptors(); });
}

TEST_F(CatalogueTest, FindsByNumberAndByName) {
  EXPECT_EQ("eParamID_IPConfig", GetDescriptor(eParamID_IPConfig)->GetParamIDName());
  EXPECT_EQ(GetDescriptor(eParamID_IPConfig), GetDescriptor("eParamID_IPConfig"));
  EXPECT_EQ(eParamID_IPConfig, GetParamNameParamID("eParamID_IPConfig"));
  for (const char* const wrong : {"eParamID_ipconfig", "eParamID_IPConfi", "IPConfig", ""}) {
    EXPECT_EQ(nullptr, GetDescriptor(wrong)) << wrong;
    EXPECT_EQ(0U, GetParamNameParamID(wrong)) << wrong;
  }
  const std::vector<std::string> names = GetParamIDNames();
  ASSERT_EQ(GetParamIDs().size(), names.size());
  EXPECT_EQ(GetDescriptor(GetParamIDs().back())->GetParamIDName(), names.back());
}

TEST_F(CatalogueTest, StandsInForUnknownNumbersWithoutKeepingThem) {
  const std::unique_ptr<ParamDescriptor> placeholder(GetDescriptor(kUnknown));
  ASSERT_NE(nullptr, placeholder);
  EXPECT_EQ(kUnknown, placeholder->GetParamID());
  EXPECT_EQ("1.2.3.4", placeholder->GetParamIDName());
  EXPECT_EQ("1.2.3.4", placeholder->GetName());
  const std::unique_ptr<ParamDescriptor> another(GetDescriptor(kUnknown));
  EXPECT_NE(placeholder, another);
  EXPECT_FALSE(IsValidParamID(kUnknown));
}

TEST_F(CatalogueTest, ListsGroupsByTheirTopLevelEntries) {
  EXPECT_THAT(GetParamGroup(22, false), ElementsAre(eParamID_UseGangClipName));
  EXPECT_THAT(GetParamGroup(8, false),
              ElementsAre(eParamID_TimecodeIn, eParamID_TimecodeValue, eParamID_TimecodeType,
                          eParamID_ArmRecording, eParamID_DisplayTimecode, eParamID_InputTimecode))
      << "without 0x0800010a, whose third byte is not zero";
  EXPECT_THAT(GetParamGroup(8, true), Not(::testing::Contains(eParamID_DisplayTimecode)));
  EXPECT_THAT(GetParamGroup(127, true), IsEmpty());
  EXPECT_THAT(GetParamGroup(256 + 22, false), IsEmpty());
  EXPECT_THAT(GetConfigParamGroups(), ElementsAre(1, 2, 3, 4, 5, 6, 8, 9, 13, 32, 25, 35, 41, 50,
                                                  53, 54, 55, 70, 80, 91, 92, 99));
  EXPECT_THAT(GetMediaParamGroups(), ElementsAre(12, 14, 15, 16, 17, 19, 22));
}

TEST_F(CatalogueTest, MarksMenuGroupsAndLeavesWhatIsMarked) {
  const auto groupOf = [](eParam_t id) {
    unsigned int group = 0;
    GetDescriptor(id)->GetAttribute("ParamGroup", group);
    return group;
  };
  EXPECT_EQ(2U, groupOf(eParamID_IPConfig));
  EXPECT_EQ(3U, groupOf(eParamID_UseGangClipName));
  EXPECT_EQ(2U, groupOf(eParamID_SuppressPSAlarm)) << "group 60 counts on every product";
  EXPECT_EQ(0U, groupOf(eParamID_RS422TimecodeIn)) << "not a top-level entry";
  GetDescriptor(eParamID_IPConfig)->AddAttribute("ParamGroup", 9U);
  GetDescriptor(eParamID_IPConfig)->AddAttribute("menu_number", std::string("1.1"));
  AddParamGroupAttribute();
  AddMenuNumberAttribute();
  EXPECT_EQ(9U, groupOf(eParamID_IPConfig));
  std::string number;
  GetDescriptor(eParamID_IPConfig)->GetAttribute("menu_number", number);
  EXPECT_EQ("1.1", number);
  GetDescriptor(eParamID_UseGangClipName)->GetAttribute("menu_number", number);
  EXPECT_EQ("22.1", number);
}

TEST_F(CatalogueTest, OrdersMenuNumbersStrictlyAndWeakly) {
  const std::vector<eParam_t> ids = GetParamIDs();
  const auto number = [&](std::size_t i, const char* text) {
    GetDescriptor(ids[i])->AddAttribute("menu_number", std::string(text));
  };
  number(0, "2.9");
  number(1, "2.10");
  number(2, "2");
  EXPECT_TRUE(MenuNumberCompare(ids[0], ids[1])) << "by number, not by letter";
  EXPECT_FALSE(MenuNumberCompare(ids[1], ids[0]));
  EXPECT_TRUE(MenuNumberCompare(ids[2], ids[0])) << "the shorter one first";
  EXPECT_FALSE(MenuNumberCompare(ids[0], ids[2]));
  EXPECT_FALSE(MenuNumberCompare(ids[0], ids[0]));
  EXPECT_TRUE(MenuNumberCompare(kUnknown, ids[0])) << "no number at all comes first";
}

TEST_F(CatalogueTest, KeepsTheGenericParametersToThemselves) {
  namespace generic = qel::config::generic;
  const std::vector<eParam_t> ids = generic::GetParamIDs();
  ASSERT_THAT(ids, Not(IsEmpty())) << "made with the main catalogue";
  ParamDescriptor* const first = generic::GetDescriptor(ids.front());
  EXPECT_EQ(first, generic::GetDescriptor(first->GetParamIDName()));
  EXPECT_NE(first, FindDescriptor(ids.front()));
  ImportGenericDescriptors();
  EXPECT_EQ(first, generic::GetDescriptor(ids.front()));
  DestroyDescriptors();
  EXPECT_TRUE(generic::IsValidParamID(ids.front()));
  generic::DestroyDescriptors();
  EXPECT_FALSE(generic::IsValidParamID(ids.front()));
  generic::CreateDescriptors();
  EXPECT_EQ(ids, generic::GetParamIDs());
}

TEST_F(CatalogueTest, IsAMapThatAProgramMayChange) {
  EXPECT_EQ(GetParamIDs().size(), g_paramDescriptors.size());
  EXPECT_EQ(FindDescriptor(eParamID_GenLock), g_paramDescriptors.at(eParamID_GenLock));
  EXPECT_EQ(nullptr, g_paramDescriptors[kUnknown]) << "and the null that this leaves is nobody";
  EXPECT_FALSE(IsValidParamID(kUnknown));
  EXPECT_EQ(nullptr, GetDescriptor("1.2.3.4"));
  EXPECT_THAT(GetParamIDs(), Not(::testing::Contains(kUnknown)));
  EXPECT_EQ(GetParamIDs().size(), GetParamIDNames().size());
  EXPECT_THAT(GetParamGroup(1, false), Not(::testing::Contains(kUnknown)));
  auto* const own = new ParamDescriptor;
  own->SetParamID(kUnknown);
  own->SetParamIDName("own");
  g_paramDescriptors[kUnknown] = own;
  AddMenuNumberAttribute();
  EXPECT_EQ(own, GetDescriptor("own"));
  DestroyDescriptors();
  EXPECT_TRUE(g_paramDescriptors.empty());
  g_paramDescriptors[kUnknown] = nullptr;
  CreateDescriptors();
  EXPECT_TRUE(IsValidParamID(eParamID_GenLock));
}

template <typename Key>
using Lookup = decltype(GetDescriptor(std::declval<Key>()));
template <typename Key, typename = void>
struct IsLookup : std::false_type {};
template <typename Key>
struct IsLookup<Key, std::void_t<Lookup<Key>>> : std::true_type {};
static_assert(IsLookup<const char*>::value && !IsLookup<std::nullptr_t>::value,
              "a null pointer is no name");

TEST(FlashInfo, IsTheTextOfItsFileOrNothing) {
  char path[] = "/tmp/flash_info_XXXXXX";
  const int fd = ::mkstemp(path);
  ASSERT_GE(fd, 0);
  ::close(fd);
  EXPECT_EQ("", qel::config::ReadFlashInfo(path));
  std::ofstream(path) << "line one\nline two";
  EXPECT_EQ("line one\nline two", qel::config::ReadFlashInfo(path));
  ::unlink(path);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ("", qel::config::ReadFlashInfo(path));
  EXPECT_EQ("", ::testing::internal::GetCapturedStderr()) << "a missing file is no failure";
  ::testing::internal::CaptureStderr();
  EXPECT_EQ("", qel::config::ReadFlashInfo("/tmp"));
  EXPECT_EQ("", qel::config::ReadFlashInfo("/dev/zero"));
  // Nobody writes into it, ever.
  ASSERT_EQ(0, ::mkfifo(path, 0600));
  EXPECT_EQ("", qel::config::ReadFlashInfo(path));
  ::unlink(path);
  const std::string failed = "::read_file - read failed to read enough data\n";
  EXPECT_EQ(failed + failed + failed, ::testing::internal::GetCapturedStderr());
  std::ofstream(path) << std::string(1024 * 1024, 'x');
  EXPECT_EQ(1024U * 1024, qel::config::ReadFlashInfo(path).size());
  std::ofstream(path, std::ios::app) << "x";
  ::testing::internal::CaptureStderr();
  EXPECT_EQ("", qel::config::ReadFlashInfo(path));
  EXPECT_EQ("::read_file - malloc failed\n", ::testing::internal::GetCapturedStderr());
  const std::string link = std::string(path) + ".link";
  ASSERT_EQ(0, ::truncate(path, 1));
  ASSERT_EQ(0, ::symlink(path, link.c_str()));
  EXPECT_EQ("x", qel::config::ReadFlashInfo(link.c_str())) << "the device may keep it elsewhere";
  ::unlink(link.c_str());
  ::unlink(path);
}

}  // namespace
