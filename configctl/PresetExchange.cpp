#include "configctl/PresetExchange.h"

#include "libconfig/libconfig.h"

namespace configctl {

std::optional<PresetState> PresetExchange::GetState() const {
  if (_failure) throw Failure(*_failure);
  return _state;
}

int PresetExchange::Set(eParam_t param, unsigned int value) {
  if (_failure) return 0;
  try {
    _connection.Set(param, value);
    // The result of an earlier command must not pass for that of this one.
    if (param == _result && Get(param) != value && !_failure) {
      _failure.emplace(Status::kRefused, programs::ParamName(param) +
                                             " is in use by somebody else, or cannot be set; try "
                                             "again in a moment");
    }
    return 1;
  } catch (const Failure& failure) {
    _failure.emplace(failure);
    return 0;
  }
}

unsigned int PresetExchange::Get(eParam_t param) {
  unsigned int value = static_cast<unsigned int>(PresetState::kFailed);
  Get(param, value);
  return value;
}

int PresetExchange::Get(eParam_t param, unsigned int& value) {
  if (_failure) return 0;
  try {
    value = std::get<unsigned int>(_connection.Get(param));
  } catch (const Failure& failure) {
    _failure.emplace(failure);
    return 0;
  }
  _state = static_cast<PresetState>(value);
  if (!_session.WantsJson()) {
    const auto waited =
        std::chrono::duration_cast<std::chrono::seconds>(Watchdog::Clock::now() - _start);
    _session.GetConsole().ShowProgress(_doing + " ... " + std::to_string(waited.count()) + " s");
  }
  return 1;
}

eConfigID_t PresetExchange::GetConfigID() {
  return static_cast<eConfigID_t>(_connection.GetConfigNumber());
}

ParamDescriptor* PresetExchange::GetParamDescriptor(eParam_t param) { return GetDescriptor(param); }

ParamDescriptor* PresetExchange::GetParamDescriptor(std::string name) {
  return GetDescriptor(std::move(name));
}

}  // namespace configctl
