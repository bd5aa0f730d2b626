// The rule that every store has, and the order in which a store asks its rules.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/EnumDescriptor.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/manager/UpdatePreconditionValues.h"
#include "libconfig/serialization/Serializable.h"
#include "tests/testing/RecordingListener.h"

namespace {

using qel::config::UpdatePrecondition;
using qel::config::UpdatePreconditionValues;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::RecordingListener;

constexpr auto kEnum = static_cast<eParam_t>(1);
constexpr auto kNumber = static_cast<eParam_t>(2);
constexpr auto kText = static_cast<eParam_t>(3);
constexpr auto kNoDescriptor = static_cast<eParam_t>(4);

// A configuration with three descriptors and nothing else.
class Descriptors : public Config {
 public:
  Descriptors() {
    for (const unsigned int value : {0U, 1U, 5U}) choices.AddNameValuePair(value, "choice");
    number.SetMinValue(1);
    number.SetMaxValue(10);
  }
  ParamDescriptor* GetParamDescriptor(eParam_t id) override {
    if (id == kEnum) return &choices;
    if (id == kNumber) return &number;
    return id == kText ? &text : nullptr;
  }
  int Set(eParam_t, unsigned int) override { return 0; }
  unsigned int Get(eParam_t) override { return 0; }
  eConfigID_t GetConfigID() override { return eConfigID_Default; }
  timeval GetLastConfigUpdate() override { return {}; }
  ParamDescriptor* GetParamDescriptor(std::string) override { return nullptr; }
  std::vector<eParam_t> GetParamIDs() override { return {}; }
  int Get(eParam_t, unsigned int&) override { return 0; }
  int Set(eParam_t, std::string) override { return 0; }
  int Get(eParam_t, std::string&) override { return 0; }

  EnumDescriptor choices;
  IntegerDescriptor number;
  ParamDescriptor text;
};

TEST(UpdatePreconditionValues, ListsForChoicesAndRangesForNumbers) {
  Descriptors config;
  UpdatePreconditionValues rule;
  // What becomes of a value, or "refused".
  const auto becomes = [&](eParam_t id, unsigned int value) {
    return rule.IsUpdateValid(&config, id, value) ? std::to_string(value) : "refused";
  };
  EXPECT_EQ("5", becomes(kEnum, 5));
  EXPECT_EQ("refused", becomes(kEnum, 2)) << "a choice is never moved";
  EXPECT_EQ("refused", becomes(kEnum, 0xffffffff));
  EXPECT_EQ("1", becomes(kNumber, 0));
  EXPECT_EQ("1", becomes(kNumber, 1));
  EXPECT_EQ("10", becomes(kNumber, 10));
  EXPECT_EQ("10", becomes(kNumber, 11));
  EXPECT_EQ("10", becomes(kNumber, 0xffffffff)) << "numbers have no sign";
  EXPECT_EQ("99", becomes(kText, 99));
  EXPECT_EQ("refused", becomes(kNoDescriptor, 0));
  std::string longText(100000, 'x');
  EXPECT_TRUE(rule.IsUpdateValid(&config, kEnum, longText));
  Serializable object;
  EXPECT_TRUE(rule.IsUpdateValid(&config, kNoDescriptor, object));

  config.number.SetMinValue(20);
  EXPECT_EQ("20", becomes(kNumber, 15)) << "the lower bound is looked at first";
  EXPECT_EQ("10", becomes(kNumber, 20));
}

using Asked = std::vector<std::string>;

// Notes that it was asked, and answers as it was told to.
class Rule : public UpdatePrecondition {
 public:
  Rule(std::string name, Asked& asked, bool answer, unsigned int add = 0)
      : _name(std::move(name)), _asked(asked), _answer(answer), _add(add) {}
  ~Rule() override { _asked.push_back("~" + _name); }
  bool IsUpdateValid(Config*, eParam_t, unsigned int& value) override {
    _asked.push_back(_name + std::to_string(value));
    value += _add;
    return _answer;
  }
  bool IsUpdateValid(Config*, eParam_t, std::string& value) override {
    _asked.push_back(_name + value);
    value += _name;
    return _answer;
  }
  bool IsUpdateValid(Config*, eParam_t, Serializable&) override { return false; }

 private:
  const std::string _name;
  Asked& _asked;
  const bool _answer;
  const unsigned int _add;
};

TEST(StorePreconditions, AreAskedInOrderAndMayChangeOrRefuse) {
  CreateDescriptors();
  Asked asked;
  RecordingListener listener;
  {
    ::testing::internal::CaptureStderr();
    auto store = std::make_shared<ConfigManager>(eConfigID_Default);
    store->InitDefaultConfig();
    EXPECT_EQ("ConfigManager::InitDefaultConfig() - end\n",
              ::testing::internal::GetCapturedStderr());
    store->AddConfigEventListener(&listener);
    auto* const adding = new Rule("add", asked, true, 1000000);
    auto* const refusing = new Rule("refuse", asked, false);
    EXPECT_EQ(1, store->AddUpdatePrecondition(adding));
    EXPECT_EQ(1, store->AddUpdatePrecondition(adding));
    EXPECT_EQ(1, store->Set(eParamID_IntervalTime, 5U));
    EXPECT_THAT(asked, ElementsAre("add5", "add1000005"));
    EXPECT_EQ(2000005U, store->Get(eParamID_IntervalTime)) << "nobody else looks at the range";
    EXPECT_EQ(1, store->Set(eParamID_SysName, std::string("n")));
    asked.clear();

    EXPECT_EQ(1, store->AddUpdatePrecondition(refusing));
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(0, store->Set(eParamID_IntervalTime, 5U));
    EXPECT_EQ(0, store->Set(eParamID_SysName, std::string("m")));
    EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
    EXPECT_THAT(asked, ElementsAre("add5", "add1000005", "refuse2000005", "addm", "addmadd",
                                   "refusemaddadd"));
    EXPECT_EQ(1, store->Set(eParamID_ExtendedAlarm, 77U)) << "do_not_validate asks nobody";
    EXPECT_THAT(listener.GetHeard(), ElementsAre(std::make_pair(eParamID_IntervalTime, "2000005"),
                                                 std::make_pair(eParamID_SysName, "naddadd"),
                                                 std::make_pair(eParamID_ExtendedAlarm, "77")));

    EXPECT_EQ(1, store->RemoveUpdatePrecondition(refusing));
    EXPECT_EQ(0, store->RemoveUpdatePrecondition(refusing));
    EXPECT_EQ(0, store->RemoveUpdatePrecondition(nullptr));
    asked.clear();
    EXPECT_EQ(1, store->Set(eParamID_IntervalTime, 6U));
    delete refusing;
    asked.clear();
  }
  EXPECT_THAT(asked, ElementsAre("~add")) << "added twice, deleted once";
}

}  // namespace
