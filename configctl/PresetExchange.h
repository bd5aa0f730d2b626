// One command to the device about a preset, and the wait for its result: the configuration that the
// library's presets work on. It hands their reads and writes to a connection, whose failures end
// the wait at once instead of being polled away, and shows on a terminal that it waits.
//
// One thread uses it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "configctl/Connection.h"
#include "configctl/Session.h"

namespace configctl {

// What the results of all preset commands count in. Do not renumber.
enum class PresetState : unsigned { kBusy = 1, kComplete = 2, kFailed = 3, kEmpty = 4 };

class PresetExchange : public Config {
 public:
  // `result` is the parameter that tells how it went; `doing` as in "saving preset 3".
  PresetExchange(const Session& session, Connection& connection, eParam_t result,
                 const std::string& doing)
      : _session(session), _connection(connection), _result(result), _doing(doing) {}

  // The result that was read last; none before the command was given, and kBusy when the time was
  // over. Throws Failure when an exchange with the device failed.
  std::optional<PresetState> GetState() const;

  using Config::Get;
  using Config::GetParamDescriptor;
  using Config::Set;
  int Set(eParam_t param, unsigned int value) override;
  unsigned int Get(eParam_t param) override;
  eConfigID_t GetConfigID() override;
  // Not needed by presets.
  timeval GetLastConfigUpdate() override { return {}; }
  ParamDescriptor* GetParamDescriptor(eParam_t param) override;
  ParamDescriptor* GetParamDescriptor(std::string name) override;
  std::vector<eParam_t> GetParamIDs() override { return {}; }
  int Get(eParam_t param, unsigned int& value) override;
  int Set(eParam_t, std::string) override { return 0; }
  int Get(eParam_t, std::string&) override { return 0; }

 private:
  const Session& _session;
  Connection& _connection;
  const eParam_t _result;
  const std::string _doing;
  const Watchdog::Clock::time_point _start = Watchdog::Clock::now();
  std::optional<PresetState> _state;
  std::optional<Failure> _failure;
};

}  // namespace configctl
