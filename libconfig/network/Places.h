// The places that a stream server has for its peers, and who is in them. Any thread. Internal.
//
// Anybody takes places as long as there are any, some of which are kept for the device's own user.
// Once there are none, a newcomer is given the place of a peer whose holder has at least as many
// as the newcomer's: one that has not sent its Connect Request yet, or has asked nothing for a
// while. A holder of more than half of them also gives away those that are in use.
#pragma once

#include <chrono>
#include <list>
#include <memory>

#include "libconfig/base/Mutex.h"
#include "libconfig/network/Holder.h"

namespace qel::vorlane::config::access {

class NetworkTCPConnection;

class Places : public std::enable_shared_from_this<Places> {
 public:
  // A place for `connection`, which releases it before it is destroyed. `port` is the server's.
  // Null when nobody has to make room.
  std::shared_ptr<void> Take(NetworkTCPConnection& connection, int port);

  // Ends one peer, for want of descriptors.
  void FreeOne();

  // Ends all of them, and takes no more. False when `deadline` passed before they were gone.
  bool End(std::chrono::steady_clock::time_point deadline);

 private:
  struct Place {
    NetworkTCPConnection* peer;
    Holder holder;
  };

  void NameHolders(Place& newcomer, int port) LIBCONFIG_REQUIRES(_mutex);
  bool MakeRoom(const Holder* newcomer, bool amongOthers, std::size_t share)
      LIBCONFIG_REQUIRES(_mutex);
  std::size_t CountOthers() const LIBCONFIG_REQUIRES(_mutex);

  qel::config::Mutex _mutex;
  qel::config::Condition _left;
  bool _ended LIBCONFIG_GUARDED_BY(_mutex) = false;
  unsigned _living LIBCONFIG_GUARDED_BY(_mutex) = 0;      // those that gave their place away, too
  std::list<Place> _places LIBCONFIG_GUARDED_BY(_mutex);  // the oldest first
};

}  // namespace qel::vorlane::config::access
