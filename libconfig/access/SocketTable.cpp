#include "libconfig/access/SocketTable.h"

#include <cstdio>
#include <fstream>
#include <string>

namespace qel::config {

std::vector<OwnedSocket> ReadSocketTable(const char* table) {
  std::vector<OwnedSocket> sockets;
  std::ifstream file(std::string("/proc/net/") + table);
  for (std::string line; std::getline(file, line);) {
    OwnedSocket socket = {};
    // The row; the ends; the state, the queues, the timer, retransmits; the user; a time-out.
    const int found = std::sscanf(line.c_str(), "%*s %x:%x %x:%x %*s %*s %*s %*s %u %*s %lu",
                                  &socket.own.host, &socket.own.port, &socket.peer.host,
                                  &socket.peer.port, &socket.user, &socket.inode);
    if (found == 6 && socket.inode != 0) sockets.push_back(socket);
  }
  return sockets;
}

}  // namespace qel::config
