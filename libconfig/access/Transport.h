// How the factory by URI, the ways to a configuration and the library's servers reach each other
// without knowing each other. Any thread. Internal.
#pragma once

#include <memory>
#include <string>

#include "libconfig/serialization/Identifiers.h"

class Config;

namespace qel::config {

// What the factory needs of the stores of this process, and of the network. These are built on
// Config and stand above the factory.
class Transport {
 public:
  virtual ~Transport() = default;
  // Null on failure.
  virtual Config* Connect(const std::string& uri) = 0;
  // False for what is no living connection of this transport: such a pointer is not followed.
  virtual bool Disconnect(Config* config) = 0;
  // A connection to a store that somebody is connected to already; null where there is none.
  virtual Config* ConnectLiving(eConfigID_t) { return nullptr; }
};

// Defined by the transports themselves.
std::unique_ptr<Transport> MakeLocalTransport();
std::unique_ptr<Transport> MakeNetworkTransport();

// How servers reach the stores of their own process: through the process-wide factory, and safe
// against its destruction. The store of that number, to be released with DisconnectStore; null on
// failure, as for a living store to which nobody else is connected.
Config* ConnectStore(eConfigID_t id);
Config* ConnectLivingStore(eConfigID_t id);
// Null is allowed.
void DisconnectStore(Config* store);

}  // namespace qel::config
