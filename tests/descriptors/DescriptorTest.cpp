// What a descriptor keeps, apart from the catalogue.
#include "libconfig/descriptors/EnumDescriptor.h"
#include "libconfig/descriptors/ParamIDs.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

namespace {

TEST(Descriptor, KeepsDependenciesOnceAndRelationsAsOftenAsTheyCome) {
  const auto a = eParamID_IPConfig;
  const auto b = eParamID_GenLock;
  ParamDescriptor descriptor;
  for (const eParam_t id : {a, b, a}) {
    descriptor.AddDependentParamID(id);
    descriptor.AddDependsOnParamID(id);
    descriptor.AddRelation("enabled_by", id, 1);
  }
  EXPECT_THAT(descriptor.GetDependentParamIDs(), ElementsAre(b, a));
  EXPECT_TRUE(descriptor.RemoveDependentParamID(b));
  EXPECT_FALSE(descriptor.RemoveDependentParamID(b));
  EXPECT_THAT(descriptor.GetDependsOnParamIDs(), ElementsAre(b, a)) << "a list of its own";
  EXPECT_EQ(3U, descriptor.GetRelation("enabled_by").size());
  EXPECT_THAT(descriptor.GetRelation("absent"), IsEmpty());
  EXPECT_EQ(1U, descriptor.GetRelations().size()) << "asking leaves nothing behind";
}

TEST(Descriptor, KeepsNumbersAndTextsOfOneKeyApart) {
  ParamDescriptor descriptor;
  descriptor.AddAttribute("key", 1U);
  descriptor.AddAttribute("key", std::string("one"));
  descriptor.AddAttribute("key", 2U);
  unsigned int number = 0;
  std::string text;
  EXPECT_TRUE(descriptor.GetAttribute("key", number) && descriptor.GetAttribute("key", text));
  EXPECT_FALSE(descriptor.GetAttribute("no", number) || descriptor.GetAttribute("no", text));
  EXPECT_EQ(2U, number);
  EXPECT_EQ("one", text);
  std::map<std::string, unsigned int> numbers = {{"old", 9}};
  descriptor.GetAttributes(numbers);
  EXPECT_THAT(numbers, ElementsAre(Pair("key", 2U)));
}

std::vector<std::string> OrderedNames(EnumDescriptor& choices) {
  std::vector<std::string> names;
  for (const auto& choice : choices.GetOrderedEnumValueDescriptors()) {
    names.push_back(std::to_string(choice.value) + choice.name + "/" + choice.shortName);
  }
  return names;
}

TEST(EnumDescriptor, ListsAChoiceAsOftenAsItWasAddedWithItsLatestNames) {
  EnumDescriptor choices;
  choices.AddNameValuePair(1, "A");
  choices.AddNameValuePair(0, "B", "b");
  choices.AddNameValuePair(1, "C", "c");
  EXPECT_THAT(OrderedNames(choices), ElementsAre("1C/c", "0B/b", "1C/c"));
  EXPECT_EQ(2U, choices.GetEnumValueDescriptors().size());
  choices.AddNameValuePair(2, "D");
  EXPECT_EQ("D", choices.GetEnumValueDescriptor(2).shortName);

  choices.SetEnumValueDescriptors({{7, {7, "only", "o"}}});
  EXPECT_EQ("99999Invalid/Invalid", OrderedNames(choices).front());
  EXPECT_EQ(4U, choices.GetEnumValueDescriptors().size()) << "the dropped ones are defaults now";
  EXPECT_TRUE(choices.HasValue(1));

  EnumDescriptor unordered;
  unordered.SetEnumValueDescriptors({{7, {7, "only", "o"}}});
  EXPECT_THAT(OrderedNames(unordered), IsEmpty());
}

TEST(EnumDescriptor, NamesAbsentValuesAsPointersArePrinted) {
  EnumDescriptor choices;
  choices.AddNameValuePair(5, "five");
  EXPECT_EQ("five", choices.GetEnumValue(5));
  EXPECT_EQ("0x2a", choices.GetEnumValue(42));
  EXPECT_EQ("0xffffffff", choices.GetEnumValue(0xffffffff));
  EXPECT_EQ("(nil)", choices.GetEnumValue(0));
  EXPECT_EQ(99999U, choices.GetEnumValueDescriptor(42).value);
  EXPECT_FALSE(choices.HasValue(42));
}

TEST(EnumDescriptor, MayFillItsGapsOnSeveralThreads) {
  EnumDescriptor choices;
  for (unsigned int i = 0; i < 50; ++i) choices.AddNameValuePair(i, "choice");
  choices.SetEnumValueDescriptors({});
  OnThreads(4, [&](int) {
    EXPECT_EQ(50U, choices.GetOrderedEnumValueDescriptors().size());
    EXPECT_EQ("Invalid", choices.GetEnumValueDescriptor(49).name);
  });
}

}  // namespace
