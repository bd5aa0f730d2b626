// A rule that a store consults before it stores a value. It may refuse the update, or change the
// value, which is then stored and announced as changed.
//
// A store owns the preconditions that were added to it. It calls them in the order in which they
// were added, on the thread that sets and with none of its locks held: two threads may be inside
// one precondition at once. From inside a call a precondition may set, add and remove, itself too.
// An update that is being checked does not reach what is added meanwhile, and does not call what
// was removed. When RemoveUpdatePrecondition returns, the caller owns the precondition and no other
// thread is inside it; called from inside a precondition it returns at once, and another thread may
// still be inside.
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
