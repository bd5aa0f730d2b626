// A configuration whose other end is the test: it holds values, counts what it is asked, and may
// fail, or do something before it answers.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "libconfig/access/Config.h"
#include "libconfig/access/Outcome.h"
#include "libconfig/descriptors/Catalogue.h"

namespace testing_support {

class FakeConfig : public Config {
 public:
  using Config::AddConfigEventListener;
  ~FakeConfig() override { atEnd(); }

  std::map<eParam_t, unsigned int> numbers;
  std::map<eParam_t, std::string> texts;
  std::map<eParam_t, ParamDescriptor*> descriptors;  // ahead of the catalogue's
  std::vector<ConfigEventListener*> listeners;
  bool failing = false;
  bool plain = false;           // numbers can only be read without a result
  bool setsOutcomes = false;    // kDone or kNoAnswer
  bool returnsNumbers = false;  // as over a queue, where Get returns the number that it read
  std::function<void()> meanwhile = [] {};
  std::function<void()> atEnd = [] {};

  int Count(const std::string& operation) const {
    return static_cast<int>(std::count(_calls.begin(), _calls.end(), operation));
  }
  const std::vector<std::string>& GetCalls() const { return _calls; }

  int Set(eParam_t id, unsigned int value) override { return Store(numbers, id, value); }
  int Set(eParam_t id, std::string value) override { return Store(texts, id, value); }
  unsigned int Get(eParam_t id) override {
    unsigned int value = 0;
    Fetch(numbers, id, value);
    return value;
  }
  int Get(eParam_t id, unsigned int& value) override {
    if (plain) return 0;
    const int result = Fetch(numbers, id, value);
    return result != 0 && returnsNumbers ? static_cast<int>(value) : result;
  }
  int Get(eParam_t id, std::string& value) override { return Fetch(texts, id, value); }
  eConfigID_t GetConfigID() override { return eConfigID_Default; }
  timeval GetLastConfigUpdate() override { return {}; }
  ParamDescriptor* GetParamDescriptor(eParam_t id) override {
    _calls.push_back("GetParamDescriptor");
    const auto own = descriptors.find(id);
    return own == descriptors.end() ? FindDescriptor(id) : own->second;
  }
  ParamDescriptor* GetParamDescriptor(std::string name) override { return GetDescriptor(name); }
  std::vector<eParam_t> GetParamIDs() override { return {}; }
  int AddConfigEventListener(ConfigEventListener* listener) override {
    listeners.push_back(listener);
    return 1;
  }

 private:
  template <typename Map, typename Value>
  int Fetch(Map& map, eParam_t id, Value& value) {
    _calls.push_back("Get");
    const Value answer = map[id];
    End();
    if (failing) return 0;
    value = answer;
    return 1;
  }

  template <typename Map, typename Value>
  int Store(Map& map, eParam_t id, const Value& value) {
    _calls.push_back("Set");
    if (!failing) map[id] = value;
    End();
    return failing ? 0 : 1;
  }

  void End() {
    using qel::config::Outcome;
    meanwhile();
    if (setsOutcomes) qel::config::SetOutcome(failing ? Outcome::kNoAnswer : Outcome::kDone);
  }

  std::vector<std::string> _calls;
};

}  // namespace testing_support
