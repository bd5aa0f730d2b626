// The values of stores that are gone, waiting for the next store. Values are never freed while the
// process lives, as somebody may still hold a pointer to one; taking them up again is what keeps a
// process that opens and closes stores from growing. A store takes those of its own configuration,
// so that who holds such a pointer does not change another one, and only when many wait the oldest
// of them. Any thread. Internal.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <utility>

#include "libconfig/base/Mutex.h"
#include "libconfig/values/ConfigValue.h"

namespace qel::config {

class ValuePool {
 public:
  // Never destroyed.
  static ValuePool& Instance();

  // A value that an earlier store held for `id`, or null when a new one shall be made.
  std::unique_ptr<ConfigValue> Take(eConfigID_t store, eParam_t id);
  void Give(eConfigID_t store, std::unique_ptr<ConfigValue> value);

 private:
  using Pooled = std::pair<eConfigID_t, std::unique_ptr<ConfigValue>>;

  Mutex _mutex;
  std::map<eParam_t, std::deque<Pooled>> _values LIBCONFIG_GUARDED_BY(_mutex);  // oldest first
};

}  // namespace qel::config
