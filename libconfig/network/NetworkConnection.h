// Base of the server's connections to its peers, over whatever transport.
#pragma once

#include <memory>
#include <string>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/base/Export.h"

class Config;
class ConfigValue;

namespace qel::vorlane::config::access {

// Who is at the other end of a connection; outlives the connection. Any thread.
class LIBCONFIG_API NetworkPeer {
 public:
  // The identifier in the peer's records, its address, empty for a local socket, and the port here
  // that it is connected to; 0 for one that sends datagrams.
  NetworkPeer(unsigned int connectionID, std::string address, int port);
  virtual ~NetworkPeer();
  NetworkPeer(const NetworkPeer&) = delete;
  NetworkPeer& operator=(const NetworkPeer&) = delete;

  // Program and address as far as they are known, for people. The first call asks the system, which
  // takes its time, and cannot name a program that has ended.
  virtual std::string Describe();

 private:
  struct State;
  const std::unique_ptr<State> _state;
};

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

  // Who made the request that the calling thread is working on; null when it works on none. Cheap:
  // the thread finds the peer's name once the request is done and the peer cannot have ended yet.
  static std::shared_ptr<NetworkPeer> CurrentPeer();

 protected:
  virtual std::shared_ptr<NetworkPeer> GetPeer();
  // Finds the name of the peer that CurrentPeer was asked for, if any. To be called when what the
  // requests led to has been sent, before the next one is waited for.
  static void NameCurrentPeer();

  // Makes `connection` the thread's current one while it exists. At most one a thread.
  class LIBCONFIG_API Working {
   public:
    explicit Working(NetworkConnection* connection);
    ~Working();
    Working(const Working&) = delete;
    Working& operator=(const Working&) = delete;

   private:
    friend class NetworkConnection;
    NetworkConnection* const _connection;
    std::shared_ptr<NetworkPeer> _asked;  // who was asked for meanwhile
  };

 private:
  // Of the thread. A pointer, as the system ends a process that has no memory to note that
  // something of a thread is to be destroyed.
  static Working*& ThreadsOwn();
};

}  // namespace qel::vorlane::config::access
