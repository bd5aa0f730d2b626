// The process's way to its configurations, by URI:
//
//   local:configid=N             a store of this process
//   tcp://HOST:PORT              a server, HOST a dotted address
//   tcp://HOST:PORT/configid=N   another configuration of that server
//   udp://HOST:PORT              the same with datagrams
//   multicast://127.0.0.1:63110  hears what is changed over UDP on this device, and no more
//   …/caching=true               a ConfigCache around it
//
// GetInstance makes the factory, and the catalogue with it, on first use; any thread may call it.
// Connections are the caller's until they go back to Disconnect, with one exception: a cache is
// given back by deleting it, which ends the connection that it wraps.
#pragma once

#include <memory>
#include <string>

#include "libconfig/access/ConfigFactory.h"
#include "libconfig/base/Export.h"
#include "libconfig/serialization/Identifiers.h"

namespace qel::config {
Config* ConnectStore(eConfigID_t id);
Config* ConnectLivingStore(eConfigID_t id);
void DisconnectStore(Config* store);
}  // namespace qel::config
namespace qel::config::access {
class LocalConfigFactory;
}
namespace qel::vorlane::config::access {
class NetworkFactory;
}

class LIBCONFIG_API ConfigFactoryImpl : public ConfigFactory {
 public:
  static ConfigFactoryImpl* GetInstance();
  // Deletes the factory. Connections that are still open, the process's own servers' among them,
  // can be used on; stores among them are not tracked any more, and stay.
  static void DestroyInstance();

  ~ConfigFactoryImpl() override;
  void Run() override;
  // Null on failure. With "caching=true" never null: the cache of a failed connection fails in its
  // turn.
  Config* Connect(std::string uri) override;
  // 0 for null and for whatever is no living connection.
  int Disconnect(Config* config) override;

 private:
  // The process's own servers, which must not lose the factory while they are inside it.
  friend Config* qel::config::ConnectStore(eConfigID_t id);
  friend Config* qel::config::ConnectLivingStore(eConfigID_t id);
  friend void qel::config::DisconnectStore(Config* store);

  ConfigFactoryImpl();

  static ConfigFactoryImpl* s_theSingleton;

  std::unique_ptr<qel::vorlane::config::access::NetworkFactory> _network_factory;
  std::unique_ptr<qel::config::access::LocalConfigFactory> _local_factory;
};
