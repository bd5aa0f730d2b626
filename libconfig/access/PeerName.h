// Who is at the other end of a connection, for logs: as the kernel tells it where it can, and
// marked as a claim where it cannot. Nothing here asks the process itself or touches its memory, so
// that one that is stopped holds nobody up. Internal.
#pragma once

#include <string>

namespace qel::config {

// The program that runs as `pid`, escaped and of at most 64 bytes; empty when there is none.
std::string ProgramOf(unsigned int pid);

// The peer at `address`, which is "127.0.0.1:4711" or empty for a local socket, whose process
// number is said to end in the bits of `lowBits`. It is connected to `port` of this host; 0 for one
// that sends datagrams.
std::string DescribePeer(unsigned int lowBits, const std::string& address, int port);

}  // namespace qel::config
