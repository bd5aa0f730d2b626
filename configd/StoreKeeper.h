// Looks after the stores that the daemon serves. A store that somebody changed is kept until the
// daemon ends, although its last peer leaves; a store that still holds the factory defaults is not,
// so that asking for configuration after configuration costs nothing. With a state folder, what is
// kept is saved too, and a store begins with what was saved of it.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "configd/ChangeLog.h"
#include "configd/state/PresetRegisters.h"
#include "configd/state/StateSaver.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/libconfig.h"

class StoreKeeper : public qel::config::access::StoreObserver {
 public:
  // Null for no state folder; it stays the caller's.
  StoreKeeper(const StateFolder* folder, bool logChanges);
  ~StoreKeeper() override;

  // False when what was saved of the store cannot be read at present.
  bool StoreOpened(ConfigManager& store) override;
  void StoreClosing(ConfigManager& store) override;

  // Saves what is unsaved and ends the threads. False when something could not be saved.
  bool Stop();

 private:
  class Changes;
  // The listeners that this keeps at one store.
  struct Watch {
    std::unique_ptr<Changes> changes;
    std::unique_ptr<ChangeLog> log;
  };

  void AddListeners(ConfigManager& store);
  bool HasPlace(eConfigID_t configID) const LIBCONFIG_REQUIRES(_mutex);
  // Without an allocation, as a setting would be lost for want of memory. False when there are too
  // many already.
  bool Keep(ConfigManager& store);

  const bool _logChanges;
  std::unique_ptr<StateSaver> _saver;  // null without a state folder
  PresetRegisters _presets;
  qel::config::Mutex _mutex;
  std::map<ConfigManager*, Watch> _watches LIBCONFIG_GUARDED_BY(_mutex);
  // Configurations that are kept, here or in the state folder, and room for all that may follow.
  std::vector<eConfigID_t> _places LIBCONFIG_GUARDED_BY(_mutex);
  bool _warned LIBCONFIG_GUARDED_BY(_mutex) = false;
};
