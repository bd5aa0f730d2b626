// A listener that does something from inside the first call that it gets.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <utility>

#include "tests/testing/Eventually.h"
#include "tests/testing/RecordingListener.h"

namespace testing_support {

class ActingListener : public RecordingListener {
 public:
  explicit ActingListener(std::function<void()> action) : _action(std::move(action)) {}

  using RecordingListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval when) override {
    RecordingListener::ParamChanged(param, value, when);
    ActOnce();
  }
  void ParamChanged(eParam_t param, std::string value, timeval when) override {
    RecordingListener::ParamChanged(param, std::move(value), when);
    ActOnce();
  }

  bool WaitUntilCalled() {
    return Eventually([this] { return _acted.load(); });
  }
  bool WaitUntilDone() {
    return Eventually([this] { return _done.load(); });
  }

 private:
  void ActOnce() {
    if (_acted.exchange(true)) return;
    _action();
    _done = true;
  }

  const std::function<void()> _action;
  std::atomic<bool> _acted{false};
  std::atomic<bool> _done{false};
};

}  // namespace testing_support
