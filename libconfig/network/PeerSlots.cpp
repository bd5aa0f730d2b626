#include "libconfig/network/PeerSlots.h"

#include <algorithm>

#include "libconfig/base/Limits.h"
#include "libconfig/network/NetworkTCPConnection.h"

namespace qel::vorlane::config::access {

using qel::config::MutexLock;

std::shared_ptr<void> PeerSlots::Take(NetworkTCPConnection& connection) {
  {
    MutexLock lock(_mutex);
    if (_connections.size() >= qel::config::limits::kTcpPeers) {
      const auto silent = std::find_if(_connections.begin(), _connections.end(),
                                       [](const auto* peer) { return !peer->HasConnected(); });
      if (silent == _connections.end()) return nullptr;
      (*silent)->Stop();
      _connections.erase(silent);
    }
    _connections.push_back(&connection);
  }
  return {&connection,
          [self = shared_from_this()](const NetworkTCPConnection* peer) { self->Leave(peer); }};
}

// Not among them any more when its place was given away.
void PeerSlots::Leave(const NetworkTCPConnection* connection) {
  MutexLock lock(_mutex);
  const auto found = std::find(_connections.begin(), _connections.end(), connection);
  if (found != _connections.end()) _connections.erase(found);
}

}  // namespace qel::vorlane::config::access
