#include "libconfig/values/PresetsParamVector.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>
#include <thread>

#include "libconfig/access/Config.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/FileIO.h"
#include "libconfig/base/Limits.h"
#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"

namespace qel::config::values {
namespace {

// The states of the result parameters. Do not renumber.
enum State : unsigned { kExporting = 1, kComplete = 2, kFailed = 3, kEmpty = 4 };

constexpr long kWaitMs = 30000;
constexpr std::chrono::milliseconds kPoll(100);

bool IsOneOf(unsigned int state, const std::vector<unsigned int>& states) {
  return std::find(states.begin(), states.end(), state) != states.end();
}

// Without permission bits. A file that could not be written whole is removed.
bool WriteFile(const std::string& path, const char* data, unsigned int length) {
  const FileDescriptor file(OpenRegular(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0));
  if (file.Get() < 0) {
    ReportErrno("open failed");
    Report("File::write_file - open %s failed\n", path.c_str());
    return false;
  }
  if (WriteWhole(file.Get(), data, length)) return true;
  const int error = errno;
  Report("File::write_file - write failed to write enough data\n");
  ::unlink(path.c_str());
  errno = error;
  return false;
}

}  // namespace

PresetsParamVector::PresetsParamVector() : Presets(eClassID_Presets) {}

PresetsParamVector::~PresetsParamVector() { FreeData(); }

void PresetsParamVector::FreeData() {
  delete[] _data;
  _data = nullptr;
  _length = 0;
}

bool PresetsParamVector::IsEqual(Serializable* other) { return Presets::IsEqual(other); }

void PresetsParamVector::Serialize(Serializer* serializer) {
  Presets::Serialize(serializer);
  serializer->Write("PresetsFile", _data, _length);
}

void PresetsParamVector::Deserialize(DeSerializer* deserializer) {
  Presets::Deserialize(deserializer);
  FreeData();
  deserializer->Read("PresetsFile", _data, _length);
}

char* PresetsParamVector::GetData(unsigned int& length) {
  length = _length;
  return _data;
}

std::string PresetsParamVector::GetPath(eConfigID_t reg) {
  return "/var/tmp/preset_" + std::to_string(static_cast<unsigned int>(reg)) + ".bin";
}

bool PresetsParamVector::Slurp(std::string path) {
  const FileDescriptor file(OpenRegular(path.c_str(), O_RDONLY));
  if (file.Get() < 0) {
    ReportErrno("open failed");
    Report("PresetsParamVector::Slurp - open %s failed\n", path.c_str());
    return false;
  }
  FreeData();
  struct stat status;
  if (::fstat(file.Get(), &status) != 0) {
    Report("PresetsParamVector::Slurp - fstat failed\n");
    return false;
  }
  const auto size = static_cast<unsigned long long>(status.st_size);
  if (size == 0) return true;
  if (size <= limits::kPresetFile) _data = new (std::nothrow) char[size]();
  if (_data == nullptr) {
    Report("PresetsParamVector::Slurp - new failed\n");
    return false;
  }
  _length = static_cast<unsigned int>(size);
  if (!ReadWhole(file.Get(), _data, _length)) {
    FreeData();
    Report("PresetsParamVector::Slurp - read failed to read enough data\n");
    return false;
  }
  return true;
}

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
  if (!WriteFile(path, _data, _length)) {
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
