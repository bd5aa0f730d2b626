// What a MappingConfig asks about proxies. The MappingConfig owns its mapper, and may ask from
// several threads at once.
#pragma once

#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class Config;

namespace qel::vorlane::config::access {

class LIBCONFIG_API ParamMapper {
 public:
  // The order of the virtual operations is binary interface: append only.
  virtual ~ParamMapper();
  // The parameter that `id` stands for now; `id` itself when it is no proxy or cannot be resolved.
  // When something that had to be read could not be, LastOutcome() says why.
  virtual eParam_t MapParamID(eParam_t id) = 0;
  // The proxies whose value may be another one after a change of `id`, in the order in which their
  // events are sent. Reads nothing.
  virtual std::vector<eParam_t> ParamsChangedBy(eParam_t id) = 0;

  // The configuration to read selectors through. The MappingConfig hands over its own when it takes
  // the mapper, before it asks anything; it outlives the mapper. Keeps nothing unless overridden.
  virtual void UseConfig(Config* config);
};

}  // namespace qel::vorlane::config::access
