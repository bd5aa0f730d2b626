// How PresetsParamVector asks the device to take or give a preset, through the parameters of a
// configuration.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "libconfig/access/Config.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/values/PresetsParamVector.h"

namespace qel::config::values {
namespace {

// The states of the result parameters. Do not renumber.
enum State : unsigned { kExporting = 1, kComplete = 2, kFailed = 3, kEmpty = 4 };

constexpr long kWaitMs = 30000;
constexpr std::chrono::milliseconds kPoll(100);

bool IsOneOf(unsigned int state, const std::vector<unsigned int>& states) {
  return std::find(states.begin(), states.end(), state) != states.end();
}

}  // namespace

bool PresetsParamVector::WaitForStates(Config* config, eParam_t param,
                                       std::vector<unsigned int>& okStates,
                                       std::vector<unsigned int>& errorStates, long timeoutMs) {
  Report("PresetsParamVector::WaitForStates - called\n");
  // No end is computed: with the longest time there is none that a clock can hold.
  const auto start = std::chrono::steady_clock::now();
  const auto elapsedMs = [start] {
    using std::chrono::milliseconds;
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start)
        .count();
  };
  while (elapsedMs() < timeoutMs) {
    const unsigned int state = config->Get(param);
    if (IsOneOf(state, okStates)) {
      Report("PresetsParamVector::WaitForStates - normal return state = %d\n",
             static_cast<int>(state));
      return true;
    }
    if (IsOneOf(state, errorStates)) {
      Report(
          "PresetsParamVector::WaitForStates - detected an error state while waiting for preset "
          "%d\n",
          static_cast<int>(config->GetConfigID()));
      return false;
    }
    std::this_thread::sleep_for(kPoll);
  }
  Report("PresetsParamVector::WaitForStates - detected an error while waiting for preset %d\n",
         static_cast<int>(config->GetConfigID()));
  return false;
}

bool PresetsParamVector::Store(eConfigID_t reg, Config* config) {
  if (_data == nullptr || _length == 0) return false;
  const std::string path = GetPath(reg);
  if (!Spill(path)) {
    ReportErrno("PresetsParamVector::Save");
    return false;
  }
  if (config == nullptr) {
    Report("PresetsParamVector::Store - failed to get current config\n");
    return false;
  }
  config->Set(eParamID_RegisterStoreResult, kExporting);
  config->Set(eParamID_RegisterStore, static_cast<unsigned int>(reg));
  std::vector<unsigned int> okStates = {kComplete, kEmpty};
  std::vector<unsigned int> errorStates = {kFailed};
  const bool stored =
      WaitForStates(config, eParamID_RegisterStoreResult, okStates, errorStates, kWaitMs);
  if (!stored) Report("PresetsParamVector::Store - WaitForState failed\n");
  ::unlink(path.c_str());
  return stored;
}

bool PresetsParamVector::Load(eConfigID_t reg, Config* config) {
  if (config == nullptr) {
    Report("PresetsParamVector::Load - failed to get current config\n");
    return false;
  }
  config->Set(eParamID_RegisterLoadResult, kExporting);
  config->Set(eParamID_RegisterLoad, static_cast<unsigned int>(reg));
  std::vector<unsigned int> okStates = {kComplete};
  std::vector<unsigned int> errorStates = {kFailed, kEmpty};
  if (!WaitForStates(config, eParamID_RegisterLoadResult, okStates, errorStates, kWaitMs)) {
    Report("PresetsParamVector::Load - error/empty/timeout waiting for load\n");
    return false;
  }
  const unsigned int result = config->Get(eParamID_RegisterLoadResult);
  if (result == kEmpty) return false;
  if (result != kComplete) {
    Report("PresetsParamVector::Load - unknown result %d\n", static_cast<int>(result));
    return false;
  }
  const std::string path = GetPath(reg);
  if (!Slurp(path)) {
    ReportErrno("PresetsParamVector::Load");
    FreeData();
    return false;
  }
  ::unlink(path.c_str());
  return true;
}

}  // namespace qel::config::values
