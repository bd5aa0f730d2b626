// Base of the server's connections to its peers, over whatever transport.
#pragma once

#include <string>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/base/Export.h"

class Config;
class ConfigValue;

namespace qel::vorlane::config::access {

class LIBCONFIG_API NetworkConnection : public ConfigEventListener {
 public:
  ~NetworkConnection() override;

  // Sets the value's parameter in the store, by the value's class. False when the store refuses, or
  // with a message when there is no way to set such a value.
  bool DoSetRequest(Config* config, ConfigValue* value);

  // The peer for logs: program and address as far as they are known.
  virtual std::string GetPeerName();

  // The connection whose request the calling thread is processing, or null: inside a listener's
  // call this tells who made the change. Valid during the call only.
  static NetworkConnection* Current();

 protected:
  // Makes `connection` the thread's current one while it exists.
  class LIBCONFIG_API Working {
   public:
    explicit Working(NetworkConnection* connection);
    ~Working();
    Working(const Working&) = delete;
    Working& operator=(const Working&) = delete;
  };
};

}  // namespace qel::vorlane::config::access
