#include "configd/state/PresetRegisters.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <new>

#include "configd/LineWriter.h"
#include "configd/state/StateFolder.h"
#include "configd/state/StoredConfig.h"
#include "programs/Params.h"
#include "programs/ValueText.h"

using qel::config::MutexLock;
using qel::config::values::PresetsParamVector;

namespace {

constexpr unsigned int kPresets = 20;

// Do not renumber: clients wait for these.
enum Result : unsigned int { kBusy = 1, kComplete = 2, kFailed = 3, kEmpty = 4 };

}  // namespace

struct PresetRegisters::Command {
  eParam_t param;
  eParam_t result;
  unsigned int (PresetRegisters::*act)(const Job& job, std::string& why) const;
  const char* words;  // what failed, with the preset behind it
};

// Not with Set, which refuses what the parameter's choices do not list. Told of afterwards, with
// the value that it has by then, so that no watcher ends with an older one.
void PresetRegisters::SetResult(ConfigManager& store, const Command& command, unsigned int result) {
  store.SetConfigParam(command.result, result);
}

void PresetRegisters::ReportFailure(const Command& command, unsigned int number,
                                    const std::string& why) {
  LineWriter::Instance().WriteLimited(std::string("configd: ") + command.words + " preset " +
                                      std::to_string(number) + " failed: " + why);
}

const PresetRegisters::Command PresetRegisters::kCommands[] = {
    {eParamID_RegisterSave, eParamID_RegisterSaveResult, &PresetRegisters::Save, "saving"},
    {eParamID_RegisterRecall, eParamID_RegisterRecallResult, &PresetRegisters::Recall, "recalling"},
    {eParamID_RegisterLoad, eParamID_RegisterLoadResult, &PresetRegisters::HandOut, "handing out"},
    {eParamID_RegisterStore, eParamID_RegisterStoreResult, &PresetRegisters::TakeIn, "taking in"},
};

PresetRegisters::PresetRegisters(const StateFolder* folder) : _folder(folder) {}

bool PresetRegisters::IsInPresets(const ParamDescriptor& param) {
  return StoredConfig::IsSaved(param) && param.GetRegisterType() != eRegister_Exclude &&
         !param.HasClassName("readonly");
}

bool PresetRegisters::IsWaiting(const ConfigManager& store, const Command& command,
                                std::optional<unsigned int> number) const {
  // The first is being done, and may have missed what was changed since it began.
  const auto begin = _jobs.begin() + (_jobs.empty() ? 0 : 1);
  return std::any_of(begin, _jobs.end(), [&](const Job& job) {
    return job.store == &store && job.command == &command &&
           job.number == number.value_or(job.number);
  });
}

std::string PresetRegisters::WhyNot(unsigned int number, bool kept) const {
  if (_folder == nullptr) return "there is no state folder; give configd one with --state";
  if (!kept) {
    return "too many configurations are kept already; remove files of others from " +
           _folder->GetPath() + ", and restart configd";
  }
  if (number >= 1 && number <= kPresets) return {};
  return "presets are numbered 1 to " + std::to_string(kPresets);
}

void PresetRegisters::Note(ConfigManager& store, eParam_t param, unsigned int value, bool kept) {
  const auto* const command =
      std::find_if(std::begin(kCommands), std::end(kCommands),
                   [param](const Command& candidate) { return candidate.param == param; });
  if (command == std::end(kCommands)) return;
  const std::string why = WhyNot(value, kept);
  if (!why.empty()) {
    ReportFailure(*command, value, why);
    SetResult(store, *command, kFailed);
  } else {
    MutexLock lock(_mutex);
    if (!IsWaiting(store, *command, value)) _jobs.push_back({&store, command, value});
    SetResult(store, *command, kBusy);
    _worker.Wake();
  }
  store.FireParamsChangedEvents({command->result});
}

void PresetRegisters::DoJobs() {
  while (!_worker.IsStopping()) {
    Job job;
    {
      MutexLock lock(_mutex);
      if (_jobs.empty()) return;
      job = _jobs.front();
    }
    std::string why;
    const unsigned int result = Do(job, why);
    if (result == kFailed) {
      ReportFailure(*job.command, job.number, why + "; fix this and try again");
    }
    {
      MutexLock lock(_mutex);
      // All presets share one result: a client that waits for another one must not take this
      // success for its own.
      if (result != kComplete || !IsWaiting(*job.store, *job.command, std::nullopt)) {
        SetResult(*job.store, *job.command, result);
      }
      _jobs.pop_front();
    }
    job.store->FireParamsChangedEvents({job.command->result});
  }
}

unsigned int PresetRegisters::Do(const Job& job, std::string& why) const {
  try {
    return (this->*job.command->act)(job, why);
  } catch (const std::bad_alloc&) {
    why = std::strerror(ENOMEM);
    return kFailed;
  }
}

unsigned int PresetRegisters::Save(const Job& job, std::string& why) const {
  Sector sector;
  sector.configID = job.store->GetConfigID();
  for (const eParam_t id : GetParamIDs()) {
    if (!IsInPresets(*FindDescriptor(id))) continue;
    if (auto* const value = dynamic_cast<ConfigValue*>(job.store->GetSerializable(id))) {
      sector.values.emplace_back(value->Clone());
    }
  }
  Banks banks = _folder->PresetOf(sector.configID, job.number);
  banks.Load();
  return banks.Save(EncodeSector(std::move(sector)), why) ? kComplete : kFailed;
}

// Without a sector `result` says whether there is none.
std::optional<Sector> PresetRegisters::Load(const Job& job, unsigned int& result,
                                            std::string& why) const {
  Banks banks = _folder->PresetOf(job.store->GetConfigID(), job.number);
  std::optional<Sector> sector = banks.Load();
  why = banks.GetUnreadable();
  result = why.empty() ? kEmpty : kFailed;
  return sector;
}

unsigned int PresetRegisters::Recall(const Job& job, std::string& why) const {
  unsigned int result;
  const std::optional<Sector> sector = Load(job, result, why);
  if (!sector) return result;
  std::map<eParam_t, ConfigValue*> values;
  std::vector<eParam_t> ids;
  std::string refused;
  const auto refuse = [&](eParam_t id) {
    refused += (refused.empty() ? "" : ", ") + programs::ParamName(id);
  };
  for (const auto& value : sector->values) {
    const eParam_t id = value->GetParamID();
    const ParamDescriptor* const param = FindDescriptor(id);
    if (param == nullptr || !IsInPresets(*param)) {
      refuse(id);
    } else if (values.emplace(id, value.get()).second) {
      ids.push_back(id);
    }
  }
  for (const eParam_t id : programs::SelectorsFirst(ids)) {
    ConfigValue& value = *values[id];
    if (!HasValue(*job.store, value) && !GiveValue(*job.store, value)) refuse(id);
  }
  if (refused.empty()) return kComplete;
  why = "these are not as they were saved, all others are: " + refused;
  return kFailed;
}

unsigned int PresetRegisters::HandOut(const Job& job, std::string& why) const {
  unsigned int result;
  std::optional<Sector> sector = Load(job, result, why);
  if (!sector) return result;
  const std::string path = PresetsParamVector::GetPath(static_cast<eConfigID_t>(job.number));
  const int error = WriteNewFile(path, EncodeSector(std::move(*sector)));
  if (error == 0) return kComplete;
  why = path + ": " + std::strerror(error);
  return kFailed;
}

unsigned int PresetRegisters::TakeIn(const Job& job, std::string& why) const {
  const std::string path = PresetsParamVector::GetPath(static_cast<eConfigID_t>(job.number));
  std::vector<char> bytes;
  const int error = ReadStateFile(path, bytes);
  if (error != 0) {
    why = path + ": " + std::strerror(error);
    return kFailed;
  }
  std::optional<Sector> sector = DecodeSector(std::move(bytes), why);
  if (!sector) {
    why = path + " " + why;
    return kFailed;
  }
  sector->configID = job.store->GetConfigID();
  Banks banks = _folder->PresetOf(sector->configID, job.number);
  banks.Load();
  return banks.Save(EncodeSector(std::move(*sector)), why) ? kComplete : kFailed;
}
