// Lets other processes reach the stores of this one. A server owns one socket and one thread. On a
// stream socket each peer that connects gets a NetworkTCPConnection of its own; on a datagram
// socket one NetworkUDPConnection serves everybody.
//
// Life: construct, Init, Start, Stop. Until Start the server belongs to its maker. From a
// successful Start on it belongs to its thread, which deletes it some time after Stop: call Stop
// exactly once, and do not touch the server afterwards. Connections that exist go on when their
// server has ended.
#pragma once

#include <pthread.h>

#include <atomic>
#include <memory>
#include <string>

#include "libconfig/base/Export.h"

class Socket;

namespace qel::vorlane::config::access {

class NetworkTCPConnection;
class PeerSlots;
class NetworkUDPConnection;

class LIBCONFIG_API NetworkServer {
 public:
  // `family` is AF_INET or AF_UNIX, `type` SOCK_STREAM or SOCK_DGRAM. Port 0 lets the system
  // choose. `address` is the dotted address of the interface to serve; the empty one is every
  // interface.
  NetworkServer(int family, int type, int port, std::string address = "");
  ~NetworkServer();
  NetworkServer(const NetworkServer&) = delete;
  NetworkServer& operator=(const NetworkServer&) = delete;

  // Opens the socket; a connection that comes in from here on waits for Start.
  bool Init();
  bool Start();
  void Stop();

  // The port that is served. REQUIRES: Init succeeded.
  int GetPort();

 private:
  struct Ending;

  static void* pthread_start(void* server);
  void Run();
  void ServeConnections();
  void ServeDatagrams();
  NetworkTCPConnection* WaitForConnection();
  bool WaitForDatagram();

  std::atomic<bool> _stop{false};
  pthread_t _thread = {};
  std::unique_ptr<Socket> _socket;
  const int _family;
  const int _type;
  const int _port;
  const std::string _address;
  // Connections hold a part of it, as they may outlive the server.
  const std::shared_ptr<PeerSlots> _peers;
  const std::shared_ptr<Ending> _ending;
  std::unique_ptr<NetworkUDPConnection> _udpConnection;
};

}  // namespace qel::vorlane::config::access
