// What the factory by URI needs of the ways to a configuration: the stores of this process, and the
// network. They are built on Config and stand above the factory, which therefore knows neither of
// them, only this interface and the two functions that make one. Any thread. Internal.
#pragma once

#include <memory>
#include <string>

#include "libconfig/serialization/Identifiers.h"

class Config;

namespace qel::config {

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

}  // namespace qel::config
