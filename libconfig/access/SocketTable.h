// The Internet sockets of this machine, as the kernel lists them. Internal.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <vector>

namespace qel::config {

struct SocketEnd {
  uint32_t host = 0;  // in network byte order
  unsigned port = 0;
};

inline bool operator==(const SocketEnd& left, const SocketEnd& right) {
  return left.host == right.host && left.port == right.port;
}

struct OwnedSocket {
  SocketEnd own;
  SocketEnd peer;  // zero where it is not connected
  uid_t user;
  unsigned long inode;
};

// Those that a process holds: the others are listed as root's. `table` is "tcp" or "udp".
std::vector<OwnedSocket> ReadSocketTable(const char* table);

}  // namespace qel::config
