// The catalogue's lookups, its menu order, its beginning and its end.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/FlashInfo.h"
#include "libconfig/descriptors/GenericCatalogue.h"
#include "tests/testing/Folder.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

namespace {

using testing::Contains;

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
  // Whoever asks for an unknown number owns the placeholder.
  const std::unique_ptr<ParamDescriptor> placeholder(GetDescriptor(kUnknown));
  const std::unique_ptr<ParamDescriptor> another(GetDescriptor(kUnknown));
  EXPECT_NE(placeholder, another);
  EXPECT_EQ(kUnknown, placeholder->GetParamID());
  EXPECT_EQ("1.2.3.4", placeholder->GetParamIDName());
  EXPECT_FALSE(IsValidParamID(kUnknown));
}

TEST_F(CatalogueTest, ListsGroupsByTheirTopLevelEntries) {
  EXPECT_THAT(GetParamGroup(22, false), ElementsAre(eParamID_UseGangClipName));
  EXPECT_THAT(GetParamGroup(8, false),
              ElementsAre(eParamID_TimecodeIn, eParamID_TimecodeValue, eParamID_TimecodeType,
                          eParamID_ArmRecording, eParamID_DisplayTimecode, eParamID_InputTimecode))
      << "without 0x0800010a, whose third byte is not zero";
  EXPECT_THAT(GetParamGroup(8, true), Not(Contains(eParamID_DisplayTimecode)));
  EXPECT_THAT(GetParamGroup(127, true), IsEmpty());
  EXPECT_THAT(GetParamGroup(256 + 22, false), IsEmpty());
}

TEST_F(CatalogueTest, MarksMenuGroupsAndLeavesWhatIsMarked) {
  const auto groupOf = [](eParam_t id) {
    unsigned int group = 0;
    GetDescriptor(id)->GetAttribute("ParamGroup", group);
    return group;
  };
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
}

TEST_F(CatalogueTest, KeepsTheGenericParametersToThemselves) {
  namespace generic = qel::config::generic;
  const std::vector<eParam_t> ids = generic::GetParamIDs();
  ASSERT_EQ(5U, ids.size()) << "made with the main catalogue";
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
  EXPECT_EQ(FindDescriptor(eParamID_GenLock), g_paramDescriptors.at(eParamID_GenLock));
  EXPECT_EQ(nullptr, g_paramDescriptors[kUnknown]) << "and the null that this leaves is nobody";
  EXPECT_FALSE(IsValidParamID(kUnknown));
  EXPECT_EQ(nullptr, GetDescriptor("1.2.3.4"));
  EXPECT_EQ(GetParamIDs().size(), GetParamIDNames().size());
  EXPECT_THAT(GetParamGroup(1, false), Not(Contains(kUnknown)));
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
  const Folder folder;
  const std::string path = folder / "file";
  const std::string link = folder / "link";
  // The device may keep it elsewhere.
  ASSERT_EQ(0, ::symlink(path.c_str(), link.c_str()));
  const auto expect = [&](const std::string& text, const std::string& message,
                          const std::string& name) {
    CaptureStderr();
    EXPECT_TRUE(text == qel::config::ReadFlashInfo(name.c_str())) << name;
    EXPECT_EQ(message, GetCapturedStderr()) << name;
  };
  expect("", "", path);  // a missing file is no failure
  const std::string failed = "::read_file - read failed to read enough data\n";
  ASSERT_EQ(0, ::mkfifo(path.c_str(), 0600));  // nobody writes into it, ever
  for (const std::string& wrong : {folder.GetPath(), std::string("/dev/zero"), path}) {
    expect("", failed, wrong);
  }
  ::unlink(path.c_str());
  for (const std::string& text :
       {std::string(), std::string("line one\nline two"), std::string(1024 * 1024, 'x')}) {
    folder.Write("file", text);
    expect(text, "", link);
  }
  folder.Write("file", std::string(1024 * 1024 + 1, 'x'));
  expect("", "::read_file - malloc failed\n", path);
}

}  // namespace
