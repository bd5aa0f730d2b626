// What the daemon serves over the network.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "configd/LineWriter.h"
#include "libconfig/libconfig.h"

// Drops the library's messages while it exists: where a line of the daemon's says it better, or
// says all there is to say.
class Silence {
 public:
  Silence() { qel::config::SilenceMessages(); }
  ~Silence() { SendLibraryMessagesToErrors(); }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
};

// TCP, and UDP on the same port. One thread.
class Servers {
 public:
  // All of them or none: false after one line on standard error that says what to do. Port 0 lets
  // the system choose.
  bool Open(const std::string& address, int port, bool udp);
  // Ends the connections, too. False when some of them may still set something after `limit`.
  bool Stop(std::chrono::milliseconds limit);

  // The longest time that one of their threads has been at one request.
  std::chrono::milliseconds GetBusyTime() const;

  // The port that is served. REQUIRES: Open succeeded.
  int GetPort() const { return _port; }
  // What is served, as people write it.
  std::vector<std::string> GetURIs() const;

 private:
  using NetworkServer = qel::vorlane::config::access::NetworkServer;

  bool Start(int type, const std::string& address, int port, int& error);
  bool StartAll(const std::string& address, int port, bool udp, int& error);

  std::string _address;
  int _port = 0;
  bool _udp = false;
  std::vector<NetworkServer*> _servers;  // each belongs to its thread
};
