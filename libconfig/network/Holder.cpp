#include "libconfig/network/Holder.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "libconfig/access/SocketTable.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using qel::config::OwnedSocket;
using qel::config::SocketEnd;

Holder::Holder(const sockaddr_in& peer)
    : _kind(Socket::IsLoopback(peer) ? Kind::kNotLookedUp : Kind::kAddress),
      _id(peer.sin_addr.s_addr),
      _port(ntohs(peer.sin_port)) {}

Holder::Holder(Socket& socket) {
  sockaddr_in peer = {};
  if (socket.get_peer_address(peer)) {
    *this = Holder(peer);
  } else if (socket.get_peer_user(_id)) {
    _kind = Kind::kUser;
  }
}

bool Holder::IsOwn() const { return _kind == Kind::kUser && (_id == 0 || _id == ::geteuid()); }

void Holder::NameUsers(const char* table, int port, const std::vector<Holder*>& holders) {
  const auto isToDo = [](const Holder* holder) { return holder->_kind == Kind::kNotLookedUp; };
  if (std::none_of(holders.begin(), holders.end(), isToDo)) return;
  const std::vector<OwnedSocket> sockets = qel::config::ReadSocketTable(table);
  for (Holder* const holder : holders) {
    if (!isToDo(holder)) continue;
    // A datagram socket may be bound to no address, and connected to nobody.
    const auto found = std::find_if(sockets.begin(), sockets.end(), [&](const OwnedSocket& row) {
      return (row.own == SocketEnd{holder->_id, holder->_port} ||
              row.own == SocketEnd{0, holder->_port}) &&
             (row.peer.port == static_cast<unsigned>(port) || row.peer == SocketEnd{});
    });
    const bool isFound = found != sockets.end();
    holder->_kind = isFound ? Kind::kUser : Kind::kUnknown;
    holder->_id = isFound ? found->user : 0;
  }
}

}  // namespace qel::vorlane::config::access
