// Who takes up the places of a server: a user of this machine, or an address elsewhere. Internal.
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <cstdint>
#include <tuple>
#include <vector>

class Socket;

namespace qel::vorlane::config::access {

class Holder {
 public:
  // A peer of this machine is nobody known until NameUsers was called.
  explicit Holder(const sockaddr_in& peer);
  // The peer that a stream socket is connected to; the user of a local socket is known at once.
  explicit Holder(Socket& socket);

  // The machine's administrator, or the user that this process runs as.
  bool IsOwn() const;

  // Whether the two share their places. All of whom nothing is known do.
  friend bool operator<(const Holder& left, const Holder& right) {
    return left.Key() < right.Key();
  }
  friend bool operator==(const Holder& left, const Holder& right) {
    return left.Key() == right.Key();
  }

  // Finds the users of those peers of this machine that were not looked up yet, in the kernel's
  // `table` of sockets: "tcp" or "udp". `port` is the server's.
  static void NameUsers(const char* table, int port, const std::vector<Holder*>& holders);

 private:
  enum class Kind : uint8_t { kAddress, kUser, kNotLookedUp, kUnknown };

  std::tuple<Kind, uint32_t> Key() const {
    return _kind == Kind::kNotLookedUp ? std::make_tuple(Kind::kUnknown, 0U)
                                       : std::make_tuple(_kind, _id);
  }

  Kind _kind = Kind::kUnknown;
  uint32_t _id = 0;    // an address or a user
  unsigned _port = 0;  // of a peer that is to be looked up
};

}  // namespace qel::vorlane::config::access
