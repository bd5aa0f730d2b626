// How the library's servers reach the stores of their own process: through the process-wide
// factory, without knowing it. Any thread, and safe against the factory's destruction. Internal.
#pragma once

#include "libconfig/serialization/Identifiers.h"

class Config;

namespace qel::config {

// The store of that number, to be released with DisconnectStore; null on failure.
Config* ConnectStore(eConfigID_t id);

// The same, but only while somebody else is connected to the store.
Config* ConnectLivingStore(eConfigID_t id);

// Null is allowed.
void DisconnectStore(Config* store);

}  // namespace qel::config
