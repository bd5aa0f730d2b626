// Keeps the settings of the daemon's stores in the state folder. A change is only noted here;
// a thread writes it within a second, together with what else has changed meanwhile. A full or
// read-only disk is reported once and retried with growing pauses.
// Any thread may call.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "configd/state/StateFolder.h"
#include "configd/state/StoredConfig.h"
#include "libconfig/base/Worker.h"

class StateSaver {
 public:
  // The folder stays the caller's.
  explicit StateSaver(const StateFolder& folder);
  StateSaver(const StateSaver&) = delete;
  StateSaver& operator=(const StateSaver&) = delete;

  // Gives a store that nobody has reached yet what was saved of it. Note is told of its changes.
  // Null when that cannot be read at present, which is reported.
  std::shared_ptr<StoredConfig> Restore(ConfigManager& store);

  // REQUIRES: the store of `config` lives as long as this.
  void Note(const std::shared_ptr<StoredConfig>& config, eParam_t param);

  // Saves what is unsaved and ends the thread. False when something could not be saved, which is
  // then reported. Nothing is saved afterwards.
  bool Stop();

 private:
  using Configs = std::set<std::shared_ptr<StoredConfig>>;

  using Worker = qel::config::Worker;

  void SaveUnsaved();
  void ReportOutcome(const std::string& why);

  const StateFolder& _folder;
  // The thread's own.
  bool _failing = false;  // as reported
  Worker::Clock::duration _pause{};

  qel::config::Mutex _mutex;
  Configs _unsaved LIBCONFIG_GUARDED_BY(_mutex);
  Worker::Clock::time_point _retry LIBCONFIG_GUARDED_BY(_mutex);  // not before
  Worker _worker{[this] { SaveUnsaved(); }};
};
