#include "configd/Servers.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace {

// Ports that are tried when the system chooses: one that is free for TCP may be taken for UDP.
constexpr int kAttempts = 50;
constexpr std::chrono::seconds kEnd(1);  // of a server that nobody has reached

const char* Advice(int error) {
  switch (error) {
    case EADDRINUSE:
      return "stop the other server, or choose another port with --port";
    case EADDRNOTAVAIL:
      return "choose an address of this machine with --listen";
    case EACCES:
      return "choose a port from 1024 on with --port";
    default:
      return "fix this and restart";
  }
}

const char* Scheme(bool udp) { return udp ? "udp" : "tcp"; }

}  // namespace

bool Servers::Start(int type, const std::string& address, int port, int& error) {
  auto server = std::make_unique<NetworkServer>(AF_INET, type, port, address);
  errno = 0;
  if (!server->Init()) {
    error = errno;
    return false;
  }
  _port = server->GetPort();
  if (!server->Start()) {
    error = errno;
    return false;
  }
  _servers.push_back(server.release());
  return true;
}

bool Servers::StartAll(const std::string& address, int port, bool udp, int& error) {
  _udp = false;
  if (!Start(SOCK_STREAM, address, port, error)) return false;
  if (!udp) return true;
  _udp = true;
  if (Start(SOCK_DGRAM, address, _port, error)) return true;
  Stop(kEnd);
  return false;
}

bool Servers::Open(const std::string& address, int port, bool udp) {
  _address = address;
  _port = port;
  int error = 0;
  {
    const Silence silence;
    for (int i = 0; i < kAttempts; ++i) {
      if (StartAll(address, port, udp, error)) return true;
      if (port != 0 || error != EADDRINUSE) break;
    }
  }
  Complain(std::string("configd: cannot serve ") + Scheme(_udp) + "://" + address + ":" +
           std::to_string(_port) + ": " + std::strerror(error) + "; " + Advice(error));
  return false;
}

bool Servers::Stop(std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  bool ended = true;
  for (NetworkServer* const server : _servers) {
    const auto left = deadline - std::chrono::steady_clock::now();
    ended &= server->StopAll(std::chrono::duration_cast<std::chrono::milliseconds>(left));
  }
  _servers.clear();
  return ended;
}

std::chrono::milliseconds Servers::GetBusyTime() const {
  std::chrono::milliseconds longest{};
  for (const NetworkServer* const server : _servers) {
    longest = std::max(longest, server->GetBusyTime());
  }
  return longest;
}

std::vector<std::string> Servers::GetURIs() const {
  std::vector<std::string> uris;
  for (const bool udp : {false, true}) {
    if (udp && !_udp) break;
    uris.push_back(std::string(Scheme(udp)) + "://" + _address + ":" + std::to_string(_port));
  }
  return uris;
}
