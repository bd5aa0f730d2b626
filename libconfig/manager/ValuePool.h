// The values of stores that are gone, waiting for the next store. Values are never freed while the
// process lives, as somebody may still hold a pointer to one; taking them up again is what keeps a
// process that opens and closes stores from growing. Any thread. Internal.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "libconfig/base/Mutex.h"
#include "libconfig/values/ConfigValue.h"

namespace qel::config {

class ValuePool {
 public:
  // Never destroyed.
  static ValuePool& Instance();

  // A value that an earlier store held for `id`, or null when there is none.
  std::unique_ptr<ConfigValue> Take(eParam_t id);
  void Give(std::unique_ptr<ConfigValue> value);

 private:
  Mutex _mutex;
  std::map<eParam_t, std::vector<std::unique_ptr<ConfigValue>>> _values
      LIBCONFIG_GUARDED_BY(_mutex);
};

}  // namespace qel::config
