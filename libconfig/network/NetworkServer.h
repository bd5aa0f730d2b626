// Lets other processes reach the stores of this one. A server owns one socket and one thread. On a
// stream socket each peer that connects gets a NetworkTCPConnection of its own; on a datagram
// socket one NetworkUDPConnection serves all peers.
//
//   auto* const server = new NetworkServer(AF_INET, SOCK_STREAM, 43110);
//   if (!server->Init() || !server->Start()) { delete server; return false; }
//   ...
//   server->Stop();
//
// Until Start has succeeded the server belongs to its maker. From then on it belongs to its thread,
// which deletes it some time after Stop: call Stop exactly once, and do not touch the server
// afterwards. Connections outlive their server.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "libconfig/base/Export.h"

class Socket;

namespace qel::vorlane::config::access {

class NetworkTCPConnection;
class NetworkUDPConnection;
class Places;

class LIBCONFIG_API NetworkServer {
 public:
  // `family` is AF_INET or AF_UNIX, `type` SOCK_STREAM or SOCK_DGRAM. Port 0 lets the system
  // choose. `address` is the dotted address of the interface to serve; the empty one is every
  // interface.
  NetworkServer(int family, int type, int port, std::string address = "");
  ~NetworkServer();
  NetworkServer(const NetworkServer&) = delete;
  NetworkServer& operator=(const NetworkServer&) = delete;

  // Opens the socket; a connection that comes in from here on waits for Start. Check the result: a
  // server that is started without a socket serves nobody.
  bool Init();
  bool Start();
  void Stop();
  // In the place of Stop, where the stores are to be saved next: ends the connections, too, and
  // returns when none of them and not the server's thread will touch a store again. False when
  // `limit` passed first.
  bool StopAll(std::chrono::milliseconds limit);

  // The port that is served; 0 without a socket.
  int GetPort();

  // How long the server's thread has been at one datagram or new connection; 0 while it waits for
  // the next. Any thread, before Stop.
  std::chrono::milliseconds GetBusyTime() const;

  // What the thread does: serves until Stop, and then deletes the server.
  static void* pthread_start(void* server);
  void Run();
  // One step of Run. The connection is the caller's to start or delete; null, with a message, when
  // accepting failed.
  NetworkTCPConnection* WaitForConnection();
  // Processes one datagram. False when there was none, with a message.
  bool WaitForDatagram();

 private:
  struct Ending;

  void ServeConnections();
  void ServeConnection();
  void ServeDatagrams();
  NetworkUDPConnection& Datagrams();

  std::atomic<bool> _stop{false};
  std::unique_ptr<Socket> _socket;
  bool _isReady = false;  // Init succeeded
  const int _family;
  const int _type;
  const int _port;
  const std::string _address;
  // Connections hold a part of it, as they may outlive the server.
  const std::shared_ptr<Places> _places;
  const std::shared_ptr<Ending> _ending;
  std::unique_ptr<NetworkUDPConnection> _udpConnection;
};

}  // namespace qel::vorlane::config::access
