// All living connections of one kind, so that a pointer which a caller hands back can be recognised
// before anything is called on it: addresses are compared, never followed. Objects enter in their
// constructor and leave in their destructor. Any thread; never destroyed, because detached threads
// reach it. Internal.
#pragma once

#include <set>

#include "libconfig/base/Mutex.h"

class Config;

namespace qel::config {

template <typename Kind>
class LiveConfigs {
 public:
  static LiveConfigs& Instance() {
    static auto* const instance = new LiveConfigs;
    return *instance;
  }

  void Add(const Config* config) {
    MutexLock lock(_mutex);
    _configs.insert(config);
  }

  void Remove(const Config* config) {
    MutexLock lock(_mutex);
    _configs.erase(config);
  }

  bool Contains(const Config* config) {
    MutexLock lock(_mutex);
    return _configs.count(config) != 0;
  }

 private:
  Mutex _mutex;
  std::set<const Config*> _configs LIBCONFIG_GUARDED_BY(_mutex);
};

}  // namespace qel::config
