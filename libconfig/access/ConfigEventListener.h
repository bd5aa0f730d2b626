// Is notified of changes. The thread depends on the Config that it is registered with: a store
// calls on the thread that made the change, a network client on its events thread. A change that a
// network peer made is announced on the thread of this process that serves the peer, whose stack is
// 1 MiB.
//
// The notifier holds its listener list while it calls, so that a listener is never called by two
// threads at once by one Config, and hears the changes in the order in which they were stored. From
// inside a call a listener may read, set, add and remove listeners on the same Config: changes that
// it makes are announced after the running one, a removal takes effect at once. It should return
// soon: the notifier and the other listeners wait for it.
#pragma once

#include <sys/time.h>

#include <string>

#include "libconfig/access/ConfigEvent.h"
#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class LIBCONFIG_API ConfigEventListener {
 public:
  // The order of the virtual operations is binary interface: append only.
  virtual ~ConfigEventListener() = default;
  virtual void ParamChanged(eParam_t param, unsigned int value, timeval when) = 0;
  virtual void ParamChanged(eParam_t param, std::string value, timeval when) = 0;
  virtual void DataChanged(eParam_t param, std::string& data, timeval when);
  virtual void ParamChanged(ConfigEvent event);
};
