// The presets of the daemon's stores, in the state folder. A client writes the number of a preset
// to one of the register parameters; a thread of this does what it asks for and sets the parameter
// that tells the result. What waits for the thread is bounded: the same command for the same preset
// waits once.
#pragma once

#include <deque>
#include <optional>
#include <string>

#include "configd/state/StateFolder.h"
#include "libconfig/base/Worker.h"

class PresetRegisters {
 public:
  // Null for no folder: every command then fails. It stays the caller's.
  explicit PresetRegisters(const StateFolder* folder);
  PresetRegisters(const PresetRegisters&) = delete;
  PresetRegisters& operator=(const PresetRegisters&) = delete;

  // To be called with each change of `store`, from its listener: a store that is `kept` lives as
  // long as this, another is refused.
  void Note(ConfigManager& store, eParam_t param, unsigned int value, bool kept);

  // Ends the thread after the command that it is at.
  void Stop() { _worker.Stop(); }

  // Whether a preset holds the parameter's value.
  static bool IsInPresets(const ParamDescriptor& param);

 private:
  struct Command;
  struct Job {
    ConfigManager* store;
    const Command* command;
    unsigned int number;
  };
  static const Command kCommands[];

  static void SetResult(ConfigManager& store, const Command& command, unsigned int result);
  static void ReportFailure(const Command& command, unsigned int number, const std::string& why);
  // Empty when nothing stands against it.
  std::string WhyNot(unsigned int number, bool kept) const;
  // For this preset, or for any.
  bool IsWaiting(const ConfigManager& store, const Command& command,
                 std::optional<unsigned int> number) const LIBCONFIG_REQUIRES(_mutex);
  void DoJobs();
  unsigned int Do(const Job& job, std::string& why) const;
  unsigned int Save(const Job& job, std::string& why) const;
  std::optional<Sector> Load(const Job& job, unsigned int& result, std::string& why) const;
  unsigned int Recall(const Job& job, std::string& why) const;
  unsigned int HandOut(const Job& job, std::string& why) const;
  unsigned int TakeIn(const Job& job, std::string& why) const;

  const StateFolder* const _folder;
  qel::config::Mutex _mutex;
  std::deque<Job> _jobs LIBCONFIG_GUARDED_BY(_mutex);  // the first is the one that is being done
  qel::config::Worker _worker{[this] { DoJobs(); }};
};
