// A rule that a store consults before it stores a value. It may refuse the update, or change the
// value, which is then stored and announced as changed. A store owns the rules that were added to
// it. It calls them on the thread that sets, with none of its locks held.
#pragma once

#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class Config;
class Serializable;

namespace qel::config {

class LIBCONFIG_API UpdatePrecondition {
 public:
  // The order of the virtual operations is binary interface: append only.
  virtual ~UpdatePrecondition() = default;
  virtual bool IsUpdateValid(Config* config, eParam_t param, unsigned int& value) = 0;
  virtual bool IsUpdateValid(Config* config, eParam_t param, std::string& value) = 0;
  virtual bool IsUpdateValid(Config* config, eParam_t param, Serializable& value) = 0;
};

}  // namespace qel::config
