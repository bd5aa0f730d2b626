// What every row of the catalogue has to keep on every product. The rows' own words are compared
// with docs/parameters.md, elsewhere.
#include <gtest/gtest-spi.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <regex>
#include <set>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/EnumDescriptor.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "tests/testing/Emulator.h"
#include "tests/testing/Names.h"

namespace {

// A panel line has eight characters; a second line begins with two blanks that do not count.
constexpr char kPanel[] = "[^\n]{1,8}(\n  [^\n ][^\n]{0,7})?";

std::string TextOf(const ParamDescriptor& descriptor, const char* attribute) {
  std::string text;
  descriptor.GetAttribute(attribute, text);
  return text;
}

template <typename Descriptor>
Descriptor& Named(const std::string& name) {
  return dynamic_cast<Descriptor&>(*GetDescriptor("eParamID_" + name));
}

void ExpectChoices(EnumDescriptor& descriptor) {
  EXPECT_TRUE(descriptor.HasValue(descriptor.GetFactoryDefault()));
  std::set<std::string> labels;
  std::set<unsigned> values;
  for (const EnumValueDescriptor& choice : descriptor.GetOrderedEnumValueDescriptors()) {
    EXPECT_TRUE(!choice.name.empty() && labels.insert(choice.name).second) << choice.name;
    EXPECT_TRUE(values.insert(choice.value).second) << choice.name;
    EXPECT_THAT(choice.shortName, MatchesRegex(kPanel));
  }
  EXPECT_GE(values.size(), 2U);
}

void ExpectRange(const IntegerDescriptor& descriptor) {
  EXPECT_LE(descriptor.GetMinValue(), descriptor.GetFactoryDefault());
  EXPECT_GE(descriptor.GetMaxValue(), descriptor.GetFactoryDefault());
  EXPECT_LT(descriptor.GetMinValue(), descriptor.GetMaxValue());
}

void ExpectText(const StringDescriptor& descriptor) {
  const std::string text = descriptor.GetFactoryDefault();
  EXPECT_LE(descriptor.GetMinLength(), text.size());
  EXPECT_GE(descriptor.GetMaxLength(), std::max<std::size_t>(text.size(), 1));
  if (descriptor.GetRegEx() == "*") return;
  EXPECT_TRUE(std::regex_match(text, std::regex(descriptor.GetRegEx()))) << text;
}

// What the unit reports must not come back out of a preset or a factory reset.
void ExpectReportIsNotKept(const ParamDescriptor& descriptor) {
  const bool readOnly = descriptor.HasClassName("readonly");
  EXPECT_EQ(readOnly, descriptor.GetAccessType() == eAccess_ReadOnly);
  EXPECT_TRUE(!readOnly || descriptor.GetRegisterType() == eRegister_Exclude);
  EXPECT_TRUE(!readOnly || descriptor.GetFactoryResetType() == eFactoryReset_Exclude);
}

// Every "12.3 Some Name" in a help text. Rates and levels are written alike.
void ExpectHelpThatLeadsSomewhere(const ParamDescriptor& descriptor) {
  static const std::set<std::string> notMenus = {"23.98", "29.97", "59.94", "7.5"};
  static const std::regex reference("(^|[^.0-9])([0-9]+[.][0-9]+)(?![.0-9]*[0-9])");
  const std::string help = TextOf(descriptor, "description");
  EXPECT_THAT(help, EndsWith("."));
  const std::vector<eParam_t> ids = GetParamIDs();
  for (std::sregex_iterator at(help.begin(), help.end(), reference), end; at != end; ++at) {
    const std::string menu = (*at)[2];
    const std::string rest = at->suffix();
    EXPECT_TRUE(notMenus.count(menu) != 0 ||
                std::any_of(ids.begin(), ids.end(),
                            [&](eParam_t id) {
                              const ParamDescriptor& other = *FindDescriptor(id);
                              return TextOf(other, "menu_number") == menu &&
                                     rest.find(" " + other.GetName()) == 0;
                            }))
        << "refers to " << menu << rest;
  }
}

using Ties = std::set<std::pair<eParam_t, eParam_t>>;

void ExpectTies(const ParamDescriptor& descriptor, Ties& ties) {
  for (const eParam_t dependent : descriptor.GetDependentParamIDs()) {
    EXPECT_TRUE(IsValidParamID(dependent)) << dependent;
    ties.emplace(descriptor.GetParamID(), dependent);
  }
  for (const auto& relations : descriptor.GetRelations()) {
    EXPECT_EQ(relations.first, "enabled_by");
    for (const ParamDescriptor::Relation& relation : relations.second) {
      const auto* const selector = dynamic_cast<EnumDescriptor*>(FindDescriptor(relation.paramID));
      ASSERT_NE(selector, nullptr);
      EXPECT_TRUE(selector->HasValue(relation.value));
      ties.emplace(relation.paramID, descriptor.GetParamID());
    }
  }
}

void ExpectTheRules(std::size_t count) {
  EXPECT_EQ(count, GetParamIDs().size());
  std::set<std::string> names;
  Ties ties;
  for (const eParam_t id : GetParamIDs()) {
    ParamDescriptor& each = *FindDescriptor(id);
    const testing::ScopedTrace trace(__FILE__, __LINE__, each.GetParamIDName());
    EXPECT_TRUE(names.insert(each.GetParamIDName()).second);
    EXPECT_TRUE(!each.GetName().empty() && names.insert(each.GetName()).second);
    EXPECT_THAT(each.GetShortName(), MatchesRegex(kPanel));
    auto* const choices = dynamic_cast<EnumDescriptor*>(&each);
    auto* const number = dynamic_cast<IntegerDescriptor*>(&each);
    if (choices != nullptr) ExpectChoices(*choices);
    if (number != nullptr) ExpectRange(*number);
    if (number == nullptr) ExpectText(dynamic_cast<StringDescriptor&>(each));
    ExpectReportIsNotKept(each);
    ExpectHelpThatLeadsSomewhere(each);
    ExpectTies(each, ties);
  }
  // Ties that end at somebody without ties are taken away until only cycles are left.
  for (std::size_t before = 0; before != ties.size();) {
    before = ties.size();
    for (auto tie = ties.begin(); tie != ties.end();) {
      const auto next = ties.lower_bound({tie->second, eParam_t(0)});
      tie = next != ties.end() && next->first == tie->second ? std::next(tie) : ties.erase(tie);
    }
  }
  EXPECT_THAT(ties, IsEmpty());
}

// Ends the process with what was wrong on standard error: the product is read once, so that each
// needs a process of its own.
void CheckProduct(const std::string& product, bool encode, const char* systemName,
                  std::size_t encodeTypes) {
  ::testing::TestPartResultArray failures;
  ::testing::ScopedFakeTestPartResultReporter reporter(&failures);
  SetEncodeDescriptors(encode);
  ::setenv("LIBCONFIG_PRODUCT", product.c_str(), 1);
  CreateDescriptors();
  ExpectTheRules(product == "quarn" ? 207 : 192);
  for (const eParam_t id : GetParamIDs()) {
    EXPECT_TRUE(product == "quarn" || (id >> 24 != 53 && id >> 24 != 54)) << id;
  }
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

TEST(CatalogueContents, KeepsItsRulesOnEveryProduct) {
  ::testing::GTEST_FLAG(death_test_style) = testing_support::FreshDeathTestStyle();
  const auto passed = ::testing::ExitedWithCode(0);
  EXPECT_EXIT(CheckProduct("quarn", true, "Vantor Rack", 8), passed, "");
  EXPECT_EXIT(CheckProduct("crandle", true, "QEL Vantor", 8), passed, "");
  EXPECT_EXIT(CheckProduct("vimble", false, "Vantor Mini", 8), passed, "");
  EXPECT_EXIT(CheckProduct("vimble", true, "Vantor Mini", 5), passed, "");
}
