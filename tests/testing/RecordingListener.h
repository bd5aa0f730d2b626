// A listener that keeps what it hears.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "libconfig/access/ConfigEventListener.h"
#include "tests/testing/Eventually.h"

namespace testing_support {

class RecordingListener : public ConfigEventListener {
 public:
  // Numbers are kept as text, so that one list holds the order of all events.
  using Heard = std::vector<std::pair<eParam_t, std::string>>;

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval) override {
    Keep(param, std::to_string(value));
  }
  void ParamChanged(eParam_t param, std::string value, timeval) override {
    Keep(param, std::move(value));
  }

  Heard GetHeard() {
    const std::lock_guard<std::mutex> lock(_mutex);
    return _heard;
  }

  // The values that one parameter took, in order.
  std::vector<std::string> GetValues(eParam_t param) {
    std::vector<std::string> values;
    for (const auto& event : GetHeard()) {
      if (event.first == param) values.push_back(event.second);
    }
    return values;
  }

  bool WaitFor(eParam_t param, const std::string& value) {
    return Eventually([&] {
      const auto values = GetValues(param);
      return !values.empty() && values.back() == value;
    });
  }

 private:
  void Keep(eParam_t param, std::string value) {
    const std::lock_guard<std::mutex> lock(_mutex);
    _heard.emplace_back(param, std::move(value));
  }

  std::mutex _mutex;
  Heard _heard;
};

}  // namespace testing_support
