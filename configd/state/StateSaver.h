// Keeps the settings of the daemon's stores in the state folder. A change is only noted here, which
// allocates nothing; a thread writes it within a second, together with what else has changed
// meanwhile. A configuration that cannot be saved, as the disk is full or read-only say, is
// reported once and retried with growing pauses of its own. Any thread may call.
#pragma once

#include <map>
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
  // False when that cannot be read at present, which is reported.
  bool Restore(ConfigManager& store);
  // For a store of which nothing was noted. Another one of the same number may have been restored
  // meanwhile.
  void Forget(const ConfigManager& store, eConfigID_t configID);

  // REQUIRES: the store was restored here, and lives as long as this.
  void Note(eConfigID_t configID, eParam_t param);

  // Saves what is unsaved and ends the thread. False when something could not be saved, which is
  // then reported. Nothing is saved afterwards.
  bool Stop();

 private:
  using Worker = qel::config::Worker;

  struct Entry {
    std::unique_ptr<StoredConfig> config;
    bool unsaved = false;
    Worker::Clock::time_point due{};
    Worker::Clock::duration pause{};  // to the next attempt; zero after a success
  };

  void SaveUnsaved();
  bool Save(eConfigID_t configID, Entry& entry);
  void ReportOutcome(eConfigID_t configID, const std::string& why);

  const StateFolder& _folder;
  std::set<eConfigID_t> _failing;  // as reported; the thread's own

  qel::config::Mutex _mutex;
  std::map<eConfigID_t, Entry> _entries LIBCONFIG_GUARDED_BY(_mutex);
  Worker _worker{[this] { SaveUnsaved(); }};
};
