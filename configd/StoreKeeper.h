// Looks after the stores that the daemon serves. A store that somebody changed is kept until the
// daemon ends, although its last peer leaves; a store that still holds the factory defaults is not,
// so that asking for configuration after configuration costs nothing.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>

#include "configd/ChangeLog.h"
#include "libconfig/libconfig.h"

class StoreKeeper : public qel::config::access::StoreObserver {
 public:
  explicit StoreKeeper(bool logChanges);
  ~StoreKeeper() override;

  void StoreOpened(ConfigManager& store) override;
  void StoreClosing(ConfigManager& store) override;

 private:
  class Changes;
  // The listeners that this keeps at one store.
  struct Watch {
    std::unique_ptr<Changes> changes;
    std::unique_ptr<ChangeLog> log;
  };

  void Keep(eConfigID_t configID);

  const bool _logChanges;
  std::mutex _mutex;
  std::map<ConfigManager*, Watch> _watches;
  std::set<eConfigID_t> _kept;
  bool _warned = false;
};
