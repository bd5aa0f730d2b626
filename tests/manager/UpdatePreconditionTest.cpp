// The rule that every store has, and the order in which a store asks its rules.
#include <functional>
#include <future>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/manager/LocalConfigFactory.h"
#include "libconfig/manager/UpdatePreconditionValues.h"
#include "libconfig/serialization/Serializable.h"
#include "tests/testing/FakeConfig.h"
#include "tests/testing/Names.h"
#include "tests/testing/RecordingListener.h"
#include "tests/testing/Threads.h"

namespace {

using qel::config::UpdatePrecondition;
using qel::config::UpdatePreconditionValues;

TEST(UpdatePreconditionValues, ListsForChoicesAndRangesForNumbers) {
  CreateDescriptors();
  FakeConfig config;
  UpdatePreconditionValues rule;
  // What becomes of a value, or "refused".
  const auto becomes = [&](eParam_t id, unsigned int value) {
    return rule.IsUpdateValid(&config, id, value) ? std::to_string(value) : "refused";
  };
  EXPECT_EQ("2", becomes(eParamID_IPConfig, 2));
  EXPECT_EQ("refused", becomes(eParamID_IPConfig, 3)) << "a choice is never moved";
  EXPECT_EQ("1", becomes(eParamID_IntervalTime, 0));
  EXPECT_EQ("86400", becomes(eParamID_IntervalTime, 0xffffffff)) << "numbers have no sign";
  EXPECT_EQ("99", becomes(eParamID_SysName, 99));
  EXPECT_EQ("refused", becomes(static_cast<eParam_t>(4), 0)) << "of no descriptor";
  std::string longText(100000, 'x');
  EXPECT_TRUE(rule.IsUpdateValid(&config, eParamID_IPConfig, longText));
  Serializable object;
  EXPECT_TRUE(rule.IsUpdateValid(&config, eParamID_None, object));
}

using Asked = std::vector<std::string>;

// Notes that it was asked, and does and answers as it was told to.
class Rule : public UpdatePrecondition {
 public:
  Rule(std::string name, Asked& asked, bool answer, unsigned int add, std::function<void()> action)
      : _name(std::move(name)), _asked(asked), _answer(answer), _add(add), _action(action) {}
  ~Rule() override { _asked.push_back("~" + _name); }
  bool IsUpdateValid(Config*, eParam_t, unsigned int& value) override {
    _asked.push_back(_name + std::to_string(value));
    value += _add;
    _action();
    return _answer;
  }
  bool IsUpdateValid(Config*, eParam_t, std::string& value) override {
    _asked.push_back(_name + value);
    value += _name;
    _action();
    return _answer;
  }
  bool IsUpdateValid(Config*, eParam_t, Serializable&) override { return false; }

 private:
  const std::string _name;
  Asked& _asked;
  const bool _answer;
  const unsigned int _add;
  const std::function<void()> _action;
};

TEST(StorePreconditions, AreAskedInOrderAndMayChangeOrRefuse) {
  CreateDescriptors();
  Asked asked;
  RecordingListener listener;
  {
    auto store = std::make_shared<ConfigManager>(eConfigID_Default);
    CaptureStderr();
    store->InitDefaultConfig();
    EXPECT_EQ("ConfigManager::InitDefaultConfig() - end\n", GetCapturedStderr());
    store->AddConfigEventListener(&listener);
    auto* const adding = new Rule("add", asked, true, 1000000, [] {});
    auto* const refusing = new Rule("refuse", asked, false, 0, [] {});
    EXPECT_EQ(1, store->AddUpdatePrecondition(adding));
    EXPECT_EQ(1, store->AddUpdatePrecondition(adding));
    EXPECT_EQ(1, store->Set(eParamID_IntervalTime, 5U));
    EXPECT_THAT(asked, ElementsAre("add5", "add1000005"));
    EXPECT_EQ(2000005U, store->Get(eParamID_IntervalTime)) << "nobody else looks at the range";
    EXPECT_EQ(1, store->Set(eParamID_SysName, std::string("n")));
    asked.clear();

    EXPECT_EQ(1, store->AddUpdatePrecondition(refusing));
    CaptureStderr();
    EXPECT_EQ(0, store->Set(eParamID_IntervalTime, 5U));
    EXPECT_EQ(0, store->Set(eParamID_SysName, std::string("m")));
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_THAT(asked, ElementsAre("add5", "add1000005", "refuse2000005", "addm", "addmadd",
                                   "refusemaddadd"));
    EXPECT_EQ(1, store->Set(eParamID_ExtendedAlarm, 77U)) << "do_not_validate asks nobody";
    EXPECT_THAT(listener.GetHeard(), ElementsAre(std::make_pair(eParamID_IntervalTime, "2000005"),
                                                 std::make_pair(eParamID_SysName, "naddadd"),
                                                 std::make_pair(eParamID_ExtendedAlarm, "77")));

    EXPECT_EQ(1, store->RemoveUpdatePrecondition(refusing));
    EXPECT_EQ(0, store->RemoveUpdatePrecondition(refusing));
    EXPECT_EQ(1, store->Set(eParamID_IntervalTime, 6U));
    delete refusing;
    asked.clear();
  }
  EXPECT_THAT(asked, ElementsAre("~add")) << "added twice, deleted once";
}

class ChangingPreconditions : public ::testing::Test {
 protected:
  ChangingPreconditions() {
    CreateDescriptors();
    CaptureStderr();
    _store = static_cast<ConfigManager*>(_factory.Connect("local:configid=41"));
    GetCapturedStderr();
  }
  ~ChangingPreconditions() override {
    if (_store != nullptr) _factory.Disconnect(_store);
  }
  UpdatePrecondition* Add(std::function<void()> action) {
    auto* const rule = new Rule("", _ignored, true, 0, std::move(action));
    EXPECT_EQ(1, _store->AddUpdatePrecondition(rule));
    return rule;
  }

  Asked _ignored;
  qel::config::access::LocalConfigFactory _factory;
  ConfigManager* _store;
};

TEST_F(ChangingPreconditions, TakeEffectOnTheRunningUpdate) {
  Asked asked;
  UpdatePrecondition* next = nullptr;
  UpdatePrecondition* self = nullptr;
  self = Add([&] {
    asked.push_back("self");
    EXPECT_EQ(1, _store->RemoveUpdatePrecondition(self));
    EXPECT_EQ(1, _store->RemoveUpdatePrecondition(next));
    for (int i = 0; i < 9; ++i) Add([&] { asked.push_back("late"); });
  });
  next = Add([&] { asked.push_back("next"); });
  Add([&] { asked.push_back("last"); });
  EXPECT_EQ(1, _store->AddUpdatePrecondition(nullptr));
  EXPECT_EQ(1, _store->Set(eParamID_IntervalTime, 5U));
  EXPECT_THAT(asked, ElementsAre("self", "last"));
  delete self;
  delete next;
  EXPECT_EQ(1, _store->Set(eParamID_SysName, std::string("n")));
  EXPECT_EQ(2U + 1U + 9U, asked.size());
}

TEST_F(ChangingPreconditions, WaitForOtherThreadsThatAreInsideOne) {
  std::promise<void> inside;
  std::promise<void> leave;
  auto* const rule = Add([&] {
    inside.set_value();
    leave.get_future().wait();
  });
  auto setting = std::async([&] { _store->Set(eParamID_IntervalTime, 5U); });
  inside.get_future().wait();
  WatchedThread remover([&] { EXPECT_EQ(1, _store->RemoveUpdatePrecondition(rule)); });
  EXPECT_TRUE(remover.WaitUntilAsleep());
  EXPECT_EQ(1, _store->Set(eParamID_ExtendedAlarm, 1U)) << "others go on meanwhile";
  leave.set_value();
  remover.Join();
  delete rule;
  setting.wait();
}

TEST_F(ChangingPreconditions, BearThatOneGivesTheStoreBack) {
  ConfigManager* const store = _store;
  Add([&] { EXPECT_TRUE(_factory.Disconnect(std::exchange(_store, nullptr))); });
  EXPECT_EQ(1, store->Set(eParamID_IntervalTime, 5U));
}

}  // namespace
