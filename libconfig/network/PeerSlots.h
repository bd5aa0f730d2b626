// The places that a stream server has for its peers, and who is in them. Any thread. Internal.
#pragma once

#include <cstddef>
#include <list>
#include <memory>

#include "libconfig/base/Mutex.h"

namespace qel::vorlane::config::access {

class NetworkTCPConnection;

class PeerSlots : public std::enable_shared_from_this<PeerSlots> {
 public:
  // A place for `connection`, which lets go of it before it is destroyed. When all are taken, the
  // oldest peer that has not sent its Connect Request yet is ended and gives its place away; null
  // when there is none such.
  std::shared_ptr<void> Take(NetworkTCPConnection& connection);

 private:
  void Leave(const NetworkTCPConnection* connection);

  qel::config::Mutex _mutex;
  std::list<NetworkTCPConnection*> _connections LIBCONFIG_GUARDED_BY(_mutex);  // the oldest first
};

}  // namespace qel::vorlane::config::access
