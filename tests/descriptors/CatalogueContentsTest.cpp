// The rules that every row of the catalogue has to keep. The rows' own words are compared with
// docs/parameters.md, elsewhere.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/EnumDescriptor.h"
#include "libconfig/descriptors/GenericCatalogue.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "tests/testing/Emulator.h"

namespace {

bool OnlyOnQuarn(unsigned id) { return id >> 24 == 53 || id >> 24 == 54; }

char KindOf(const ParamDescriptor& descriptor) {
  const auto type = descriptor.GetParamType();
  if (dynamic_cast<const EnumDescriptor*>(&descriptor)) return type == 3 ? 'E' : '?';
  if (dynamic_cast<const IntegerDescriptor*>(&descriptor)) return type == 1 ? 'I' : '?';
  if (dynamic_cast<const StringDescriptor*>(&descriptor)) return type == 12 ? 'S' : '?';
  return '?';
}

// Every TEST runs on the full-size recorder, whatever the environment says.
void CreateFor(const char* product) {
  ::setenv("LIBCONFIG_PRODUCT", product, 1);
  CreateDescriptors();
}

std::vector<ParamDescriptor*> All() {
  std::vector<ParamDescriptor*> all;
  for (const eParam_t id : GetParamIDs()) all.push_back(FindDescriptor(id));
  return all;
}

template <typename Descriptor>
std::vector<Descriptor*> AllOf() {
  std::vector<Descriptor*> found;
  for (ParamDescriptor* const each : All()) {
    if (auto* const descriptor = dynamic_cast<Descriptor*>(each)) found.push_back(descriptor);
  }
  return found;
}

template <typename Descriptor = ParamDescriptor>
Descriptor& Named(const std::string& name) {
  auto* const found = dynamic_cast<Descriptor*>(GetDescriptor("eParamID_" + name));
  if (found == nullptr) throw std::runtime_error(name + " is not there, or of another class");
  return *found;
}

std::string MenuOf(const ParamDescriptor& descriptor) {
  std::string menu;
  descriptor.GetAttribute("menu_number", menu);
  return menu;
}

std::string HelpOf(const ParamDescriptor& descriptor) {
  std::string help;
  descriptor.GetAttribute("description", help);
  return help;
}

// The rules. Each is checked on every product.

void ExpectAsManyAsTheProductHas(bool quarn) {
  for (const ParamDescriptor* const each : All()) {
    EXPECT_NE('?', KindOf(*each)) << each->GetParamIDName();
    EXPECT_TRUE(quarn || !OnlyOnQuarn(each->GetParamID())) << each->GetParamIDName();
  }
  EXPECT_EQ(GetParamIDs().size(), quarn ? 207U : 192U);
}

void ExpectUniqueNames() {
  std::set<std::string> idNames;
  std::set<std::string> names;
  for (const ParamDescriptor* const each : All()) {
    const std::string idName = each->GetParamIDName();
    EXPECT_FALSE(each->GetName().empty()) << idName;
    EXPECT_TRUE(idNames.insert(idName).second) << idName;
    EXPECT_TRUE(names.insert(each->GetName()).second) << idName << " " << each->GetName();
  }
  for (EnumDescriptor* const each : AllOf<EnumDescriptor>()) {
    std::set<std::string> labels;
    std::set<unsigned> values;
    for (const EnumValueDescriptor& choice : each->GetOrderedEnumValueDescriptors()) {
      EXPECT_FALSE(choice.name.empty()) << each->GetParamIDName();
      EXPECT_TRUE(labels.insert(choice.name).second) << each->GetParamIDName() << choice.name;
      EXPECT_TRUE(values.insert(choice.value).second) << each->GetParamIDName() << choice.name;
    }
    EXPECT_GE(values.size(), 2U) << each->GetParamIDName();
  }
}

void ExpectDefaultsInside() {
  for (IntegerDescriptor* const each : AllOf<IntegerDescriptor>()) {
    const std::string idName = each->GetParamIDName();
    EXPECT_LE(each->GetMinValue(), each->GetFactoryDefault()) << idName;
    EXPECT_GE(each->GetMaxValue(), each->GetFactoryDefault()) << idName;
    EXPECT_LT(each->GetMinValue(), each->GetMaxValue()) << idName;
    if (const auto* const choices = dynamic_cast<EnumDescriptor*>(each)) {
      EXPECT_TRUE(choices->HasValue(each->GetFactoryDefault())) << idName;
    }
  }
  for (StringDescriptor* const each : AllOf<StringDescriptor>()) {
    const std::string text = each->GetFactoryDefault();
    const std::string idName = each->GetParamIDName();
    EXPECT_LE(each->GetMinLength(), text.size()) << idName;
    EXPECT_GE(each->GetMaxLength(), text.size()) << idName;
    EXPECT_GT(each->GetMaxLength(), 0U) << idName;
    if (each->GetRegEx() == "*") continue;
    EXPECT_TRUE(std::regex_match(text, std::regex(each->GetRegEx()))) << idName << " " << text;
  }
}

// A panel line has eight characters; a second line begins with two blanks that do not count.
bool FitsThePanel(const std::string& text) {
  static const std::regex form("[^\n]{1,8}(\n  [^\n ][^\n]{0,7})?");
  return std::regex_match(text, form);
}

void ExpectShortNamesFitThePanel() {
  for (const ParamDescriptor* const each : All()) {
    EXPECT_TRUE(FitsThePanel(each->GetShortName()))
        << each->GetParamIDName() << " " << each->GetShortName();
  }
  for (EnumDescriptor* const each : AllOf<EnumDescriptor>()) {
    for (const EnumValueDescriptor& choice : each->GetOrderedEnumValueDescriptors()) {
      EXPECT_TRUE(FitsThePanel(choice.shortName))
          << each->GetParamIDName() << " " << choice.shortName;
    }
  }
}

void ExpectMenuNumbersThatLeadSomewhere() {
  const std::regex form("(0|[1-9][0-9]{0,2})[.](0|[1-9][0-9]{0,2})");
  std::map<std::string, std::set<std::string>> namesAt;
  std::set<std::string> taken;
  for (const ParamDescriptor* const each : All()) {
    const unsigned id = each->GetParamID();
    const std::string menu = MenuOf(*each);
    EXPECT_TRUE(std::regex_match(menu, form)) << each->GetParamIDName() << " " << menu;
    namesAt[menu].insert(each->GetName());
    if ((id >> 8 & 0xff) == 0) {
      EXPECT_TRUE(taken.insert(menu).second) << menu;
    }
    const std::string own = std::to_string(id >> 24) + "." + std::to_string(id >> 16 & 0xff);
    if (id != 0x5c010000) {
      EXPECT_EQ(menu, own) << each->GetParamIDName();
    }
  }
  EXPECT_EQ(MenuOf(Named("RegisterSave")), "91.2");

  // Every "12.3 Some Name" in a help text. Rates and levels are written alike.
  const std::set<std::string> notMenus = {"23.98", "29.97", "59.94", "7.5"};
  const std::regex reference("(^|[^.0-9])([0-9]+[.][0-9]+)(?![.0-9]*[0-9])");
  for (const ParamDescriptor* const each : All()) {
    const std::string help = HelpOf(*each);
    ASSERT_FALSE(help.empty()) << each->GetParamIDName();
    EXPECT_EQ(help.back(), '.') << each->GetParamIDName();
    for (std::sregex_iterator at(help.begin(), help.end(), reference), end; at != end; ++at) {
      const std::string menu = (*at)[2];
      if (notMenus.count(menu) != 0) continue;
      const std::string rest = at->suffix();
      const auto& names = namesAt[menu];
      EXPECT_TRUE(std::any_of(names.begin(), names.end(),
                              [&](const std::string& name) { return rest.find(name) == 1; }))
          << each->GetParamIDName() << " refers to " << menu << rest;
    }
  }
}

using Ties = std::map<eParam_t, std::set<eParam_t>>;

bool ReachesItself(const Ties& ties, eParam_t start) {
  std::set<eParam_t> seen;
  std::vector<eParam_t> open = {start};
  while (!open.empty()) {
    const auto found = ties.find(open.back());
    open.pop_back();
    if (found == ties.end()) continue;
    for (const eParam_t next : found->second) {
      if (next == start) return true;
      if (seen.insert(next).second) open.push_back(next);
    }
  }
  return false;
}

bool DependsOn(eParam_t id, eParam_t other) {
  const std::vector<eParam_t> ids = FindDescriptor(id)->GetDependsOnParamIDs();
  return std::count(ids.begin(), ids.end(), other) == 1;
}

void ExpectTiesBetweenExistingParametersWithoutCycles() {
  Ties ties;
  for (const ParamDescriptor* const each : All()) {
    const eParam_t id = each->GetParamID();
    for (const eParam_t dependent : each->GetDependentParamIDs()) {
      ASSERT_TRUE(IsValidParamID(dependent)) << each->GetParamIDName();
      EXPECT_TRUE(DependsOn(dependent, id)) << each->GetParamIDName();
      ties[id].insert(dependent);
    }
    for (const auto& relations : each->GetRelations()) {
      EXPECT_EQ(relations.first, "enabled_by") << each->GetParamIDName();
      for (const ParamDescriptor::Relation& relation : relations.second) {
        const auto* const selector =
            dynamic_cast<EnumDescriptor*>(FindDescriptor(relation.paramID));
        ASSERT_NE(selector, nullptr) << each->GetParamIDName();
        EXPECT_TRUE(selector->HasValue(relation.value)) << each->GetParamIDName();
        EXPECT_TRUE(DependsOn(id, relation.paramID)) << each->GetParamIDName();
        ties[relation.paramID].insert(id);
      }
    }
  }
  for (const auto& tie : ties) {
    EXPECT_FALSE(ReachesItself(ties, tie.first)) << FindDescriptor(tie.first)->GetParamIDName();
  }
}

// What the unit reports must not come back out of a preset or a factory reset.
void ExpectReportsAreNotKept() {
  for (const ParamDescriptor* const each : All()) {
    const bool readOnly = each->HasClassName("readonly");
    EXPECT_EQ(readOnly, each->GetAccessType() == eAccess_ReadOnly) << each->GetParamIDName();
    if (!readOnly) continue;
    EXPECT_EQ(each->GetRegisterType(), eRegister_Exclude) << each->GetParamIDName();
    EXPECT_EQ(each->GetFactoryResetType(), eFactoryReset_Exclude) << each->GetParamIDName();
  }
}

void ExpectTheRules(bool quarn) {
  ExpectAsManyAsTheProductHas(quarn);
  ExpectUniqueNames();
  ExpectDefaultsInside();
  ExpectShortNamesFitThePanel();
  ExpectMenuNumbersThatLeadSomewhere();
  ExpectTiesBetweenExistingParametersWithoutCycles();
  ExpectReportsAreNotKept();
}

// Ends the process with what was wrong on standard error: the product is read once, so that each
// needs a process of its own.
void CheckProduct(const std::string& product, bool encode, const char* systemName,
                  std::size_t encodeTypes) {
  ::testing::TestPartResultArray failures;
  ::testing::ScopedFakeTestPartResultReporter reporter(&failures);
  SetEncodeDescriptors(encode);
  CreateFor(product.c_str());
  ExpectTheRules(product == "quarn");
  EXPECT_EQ(Named<StringDescriptor>("SysName").GetFactoryDefault(), systemName);
  EXPECT_EQ(GetConfigParamGroups().size(), product == "crandle" ? 23U : 22U);
  EXPECT_EQ(Named<EnumDescriptor>("EncodeType").GetEnumValueDescriptors().size(), encodeTypes);
  auto& model = Named<EnumDescriptor>("ProductID");
  EXPECT_NE(model.GetEnumValue(model.GetFactoryDefault()), "Unknown");
  for (int i = 0; i < failures.size(); ++i) {
    std::cerr << failures.GetTestPartResult(i).message() << "\n";
  }
  std::exit(failures.size() == 0 ? 0 : 1);
}

}  // namespace

TEST(CatalogueContents, KeepsItsRulesOnTheFullSizeRecorder) {
  CreateFor("quarn");
  ExpectTheRules(true);
}

TEST(CatalogueContents, FollowsTheProductAndTheEncoder) {
  ::testing::GTEST_FLAG(death_test_style) = testing_support::FreshDeathTestStyle();
  const auto passed = ::testing::ExitedWithCode(0);
  EXPECT_EXIT(CheckProduct("quarn", true, "Vantor Rack", 8), passed, "");
  EXPECT_EXIT(CheckProduct("crandle", true, "QEL Vantor", 8), passed, "");
  EXPECT_EXIT(CheckProduct("vimble", false, "Vantor Mini", 8), passed, "");
  EXPECT_EXIT(CheckProduct("vimble", true, "Vantor Mini", 5), passed, "");
}

TEST(CatalogueContents, LeavesTheSiblingModelsIdentifiersUnassigned) {
  CreateFor("quarn");
  for (const eParam_t id : GetParamIDs()) {
    const unsigned top = id >> 16;
    EXPECT_NE(id >> 24, 10U);
    for (const unsigned sibling : {0x0101U, 0x0303U, 0x7903U, 0x0602U, 0x0603U, 0x0604U, 0x3604U}) {
      EXPECT_NE(top, sibling);
    }
  }
}

// What docs/parameters.md does not tell.
TEST(CatalogueContents, MarksCommandsAndPasswordsAndWhatBelongsToNoMenu) {
  CreateFor("quarn");
  for (const char* const idName :
       {"RegisterRecall", "RegisterSave", "RegisterLoad", "RegisterStore", "TransportCommand",
        "SystemCommand", "StorageCommand", "FormatMedia", "TransportDeleteClip", "ChangeSlot",
        "FactorySettings", "GoToClip", "CueToTimecode"}) {
    EXPECT_TRUE(Named(idName).HasClassName("volatile")) << idName;
  }
  unsigned number = 0;
  for (const char* const idName : {"SystemPassword", "WiFiPassword"}) {
    EXPECT_TRUE(Named(idName).GetAttribute("password", number)) << idName;
  }
  for (const char* const idName : {"Authentication", "SuppressPSAlarm", "PresetName_20"}) {
    EXPECT_TRUE(Named(idName).GetAttribute("ParamGroup", number)) << idName;
    EXPECT_EQ(number, 2U) << idName;
  }
}

TEST(GenericCatalogueContents, HoldsTheFamilysFiveParameters) {
  CreateFor("quarn");
  namespace generic = qel::config::generic;
  std::string all;
  for (const eParam_t id : generic::GetParamIDs()) {
    ParamDescriptor& each = *generic::GetDescriptor(id);
    all += each.GetName() + " (" + each.GetShortName() + ")";
    if (auto* const choices = dynamic_cast<EnumDescriptor*>(&each)) {
      for (const EnumValueDescriptor& choice : choices->GetOrderedEnumValueDescriptors()) {
        all += " " + std::to_string(choice.value) + choice.name;
      }
    }
    all += "|";
  }
  EXPECT_EQ(
      "Config Command (CfgCmd) 0Full Backup 1Partial Backup 2Full Restore 3Normal Restore|"
      "Config Command Status (CfgStat) 0Idle 1In Process|Config Path (CfgPath)|"
      "User Authentication (Auth) 0Disabled 1Basic|System Password (Password)|",
      all);
  EXPECT_FALSE(IsValidParamID(eParamID_ConfigCommand));
}
