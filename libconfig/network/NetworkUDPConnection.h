// Serves every peer of a datagram server: answers each request to its sender, and multicasts the
// changes that were made through it. Changes that reach a store by other ways are not multicast, so
// it listens to no store. NetworkServer makes one; its thread alone uses it.
//
// Peers share one connection to a store for each configuration number, which is released with the
// Disconnect of the last of them. A peer is known by its address and the identifier in its records.
// As many peers never disconnect, the oldest are forgotten, and the configuration that was used
// least recently makes room for a new one. One that was used within the last minute does so only
// where whoever connected to it first has more than half of them, or asks for another one himself.
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/network/NetworkConnection.h"
#include "libconfig/network/NetworkRecords.h"

class Config;
class Socket;

namespace qel::vorlane::config::access {

class AnswerBudget;
class Holder;

class LIBCONFIG_API NetworkUDPConnection : public NetworkConnection {
 public:
  // Answers on `serverSocket`, which stays the caller's. Without a multicast socket, for which
  // there is a message, changes are not announced.
  explicit NetworkUDPConnection(Socket* serverSocket);
  ~NetworkUDPConnection() override;

  // One datagram and its sender. What is no whole request is dropped with a message.
  void ProcessMessages(char* data, int length, sockaddr_in& from);

  // Stores one serialized value and announces it. False when it was refused, or nobody has
  // connected to the configuration.
  bool ProcessSetStreamRequest(unsigned int configID, char* data, unsigned int length);

  // Announce a change.
  void ParamChanged(eParam_t param, unsigned int configID, unsigned int value);
  void ParamChanged(eParam_t param, unsigned int configID, char* data, unsigned int length);

  // Never called, as this listens to no store.
  using NetworkConnection::ParamChanged;
  void ParamChanged(eParam_t, unsigned int, timeval) override {}
  void ParamChanged(eParam_t, std::string, timeval) override {}

  std::string GetPeerName() override;

 protected:
  std::shared_ptr<NetworkPeer> GetPeer() override;

 private:
  // Address, port and identifier.
  using User = std::tuple<uint32_t, uint16_t, uint32_t>;

  // A store, and the peers that have connected to it. Without peers the connection to the store is
  // released; the entry then only says that the store may be used while others keep it.
  struct Instance {
    Config* store = nullptr;
    std::vector<User> users;    // the oldest first
    bool hasForgotten = false;  // peers that may still be there: the store is kept
    std::chrono::steady_clock::time_point lastUse;
    std::shared_ptr<Holder> holder;  // who connected to it first
  };

  // The store that a request names, for as long as the request is processed; null, with a message,
  // when there is none.
  using UsedStore = std::unique_ptr<Config, void (*)(Config*)>;
  UsedStore UseStore(uint32_t configID);

  void ProcessConnectRequest(const XCONFIGMGR_CONNECTION_REQUEST_T& request);
  void ProcessDisconnectRequest(const XCONFIGMGR_CONNECTION_REQUEST_T& request);
  void ProcessParamRequest(const XCONFIGMGR_REQUEST_T& request);
  bool AddUser(uint32_t configID);
  Instance* FindOrAdd(uint32_t configID);
  bool MakeRoom(const Holder& newcomer);
  User CurrentUser() const;
  bool SendTo(const void* record, std::size_t length);
  void Multicast(void* event, std::size_t length);

  std::unique_ptr<Socket> _multicastSocket;
  sockaddr_in _multicastAddress = {};
  std::map<uint32_t, Instance> _instances;  // by configuration number
  Socket* const _serverSocket;
  uint32_t _sequence = 0;  // of the next number event

  // Of the request that is being processed.
  sockaddr_in _peer = {};
  uint32_t _connectionID = 0;
  std::size_t _received = 0;

  const std::unique_ptr<AnswerBudget> _budget;

  User _namedUser;  // of the last peer that was asked for
  std::shared_ptr<NetworkPeer> _named;
};

}  // namespace qel::vorlane::config::access
