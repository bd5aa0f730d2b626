// A listener of a store that wants to know of the events that it missed: a store that has no memory
// to notify it of one goes on with the other listeners, and calls this instead. A listener holds
// stale values from then on, unless it reads what changed.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class LIBCONFIG_API MissedEventListener {
 public:
  // Called as ConfigEventListener::ParamChanged is. REQUIRES: allocates nothing.
  virtual void EventMissed(eParam_t param) noexcept = 0;

 protected:
  virtual ~MissedEventListener() = default;
};
