// The process's way to its configurations, by URI:
//
//   local:configid=N             a store of this process
//   tcp://HOST:PORT              a server, HOST a dotted address
//   tcp://HOST:PORT/configid=N   another configuration of that server
//   udp://HOST:PORT              the same with datagrams
//   multicast://127.0.0.1:63110  hears what is changed over UDP on this device, and no more
//   …/caching=true               a ConfigCache around it
//   …/caching=true/events=true   the same, kept current by the events of its own connection
//
// GetInstance makes the factory, and the catalogue with it, on first use; any thread may call it.
// The caller owns a connection until it passes it to Disconnect, with one exception: a cache is
// deleted, which ends the connection that it wraps.
//
//   Config* config = ConfigFactoryImpl::GetInstance()->Connect("tcp://127.0.0.1:43110");
//   if (config == nullptr) return 1;  // why is on standard error
//   config->Set(eParamID_IPConfig, 1U);
//   ConfigFactoryImpl::GetInstance()->Disconnect(config);
#pragma once

#include <memory>
#include <string>

#include "libconfig/access/ConfigFactory.h"
#include "libconfig/base/Export.h"
#include "libconfig/serialization/Identifiers.h"

namespace qel::config {
class Transport;
Config* ConnectStore(eConfigID_t id);
Config* ConnectLivingStore(eConfigID_t id);
void DisconnectStore(Config* store);
}  // namespace qel::config

class LIBCONFIG_API ConfigFactoryImpl : public ConfigFactory {
 public:
  static ConfigFactoryImpl* GetInstance();
  // Deletes the factory, as soon as no server of this process is inside it. Connections that are
  // still open, the process's own servers' among them, can be used on; stores among them are not
  // tracked any more, and stay.
  static void DestroyInstance();

  ~ConfigFactoryImpl() override;
  void Run() override;
  // Null on failure. With "caching=true" never null: the cache of a failed connection fails in its
  // turn. With "events=true" behind it the cache is registered with itself before anybody reads
  // through it; where that cannot be done, as over UDP, the cache is returned all the same, with a
  // message, and LastOutcome() is not kDone.
  Config* Connect(std::string uri) override;
  // 0 for null and for a pointer that is no living connection.
  int Disconnect(Config* config) override;

 private:
  // The process's own servers, which must not lose the factory while they are inside it.
  friend Config* qel::config::ConnectStore(eConfigID_t id);
  friend Config* qel::config::ConnectLivingStore(eConfigID_t id);
  friend void qel::config::DisconnectStore(Config* store);

  ConfigFactoryImpl();
  static std::shared_ptr<ConfigFactoryImpl> Share();  // null when there is none
  static std::shared_ptr<ConfigFactoryImpl> MakeAndShare();

  static ConfigFactoryImpl* s_theSingleton;

  std::unique_ptr<qel::config::Transport> _network_factory;
  std::unique_ptr<qel::config::Transport> _local_factory;
};
