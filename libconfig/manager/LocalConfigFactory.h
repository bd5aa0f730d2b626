// Hands out the stores that live in this process: one for each configuration number, made on the
// first connection, shared by all, destroyed when the last one disconnects. Nothing is
// kept between the two. Any thread may call; one lock serialises connecting and disconnecting, and
// is held while a new store fills itself. While the observer opens a store, which may take the
// disk, it is not held: only those who ask for the same number wait.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Identifiers.h"
#include "libconfig/values/SemaphoreHelper.h"

class Config;
class ConfigManager;

namespace qel::config::access {

// Learns of the stores of this process as they come and go: a daemon's way to log, restore and save
// them.
class LIBCONFIG_API StoreObserver {
 public:
  virtual ~StoreObserver() = default;
  // The store is filled, and not shared yet. Several stores of different numbers may be opened at
  // once: do not connect to the same number. False refuses the store: it is destroyed, and Connect
  // returns null.
  virtual bool StoreOpened(ConfigManager& store) = 0;
  // The last connection has ended; the store is destroyed after the call. Another store of the same
  // number may have been opened meanwhile.
  virtual void StoreClosing(ConfigManager& store) = 0;
};

class LIBCONFIG_API LocalConfigFactory {
 public:
  LocalConfigFactory();
  LocalConfigFactory(const LocalConfigFactory&) = delete;
  LocalConfigFactory& operator=(const LocalConfigFactory&) = delete;
  // Stores that still have connections are kept, untracked.
  virtual ~LocalConfigFactory();

  // The number behind "configid=" in `address`, moved into the range of its type; 0 when there is
  // none.
  eConfigID_t GetConfigID(std::string address);

  // The store of that number; null when it cannot be made, or the observer refuses it.
  Config* Connect(std::string address);

  // The same, for a store that has connections already; otherwise null.
  Config* ConnectLiving(eConfigID_t id);

  // False for a pointer that is no living store, or, with a message, for a store that another
  // factory made.
  bool Disconnect(Config* config);

  // One for all factories of the process; null for none. REQUIRES: set before the first Connect,
  // alive until the last store is gone or the process ends.
  static void SetStoreObserver(StoreObserver* observer);

 private:
  struct Place {
    std::shared_ptr<ConfigManager> store;  // null while it is being opened
    std::shared_ptr<Semaphore> opening;    // held until then
  };
  class Opening;
  // Of factories that have ended.
  using Untracked = std::multimap<eConfigID_t, Place>;
  static Untracked& UntrackedStores();

  Semaphore _lock;
  std::map<eConfigID_t, Place> _stores LIBCONFIG_GUARDED_BY(_lock);
};

}  // namespace qel::config::access
