#include "libconfig/network/Places.h"

#include <sys/resource.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <vector>

#include "libconfig/base/Limits.h"
#include "libconfig/network/NetworkTCPConnection.h"

namespace qel::vorlane::config::access {

using qel::config::MutexLock;
namespace limits = qel::config::limits;

namespace {

// A peer needs a descriptor; some are left for files, queues and other servers.
std::size_t CountPlaces() {
  rlimit descriptors = {};
  if (::getrlimit(RLIMIT_NOFILE, &descriptors) != 0) return limits::kTcpPeers;
  const rlim_t reserve = std::min<rlim_t>(limits::kDescriptorReserve, descriptors.rlim_cur / 2);
  return std::min<rlim_t>(limits::kTcpPeers, descriptors.rlim_cur - reserve);
}

}  // namespace

std::shared_ptr<void> Places::Take(NetworkTCPConnection& connection, int port) {
  Place place = {&connection, connection.GetHolder()};
  {
    MutexLock lock(_mutex);
    if (_ended) return nullptr;
    const std::size_t total = CountPlaces();
    const std::size_t forOthers = total - std::min(limits::kKeptTcpPeers, total / 8);
    // Looking users up takes milliseconds. Accepting stays cheap as long as there are places.
    if (_places.size() >= forOthers) NameHolders(place, port);
    const bool amongOthers = !place.holder.IsOwn() && CountOthers() >= forOthers;
    if ((amongOthers || _places.size() >= total) &&
        !MakeRoom(&place.holder, amongOthers, total / 2)) {
      return nullptr;
    }
    _places.push_back(place);
    ++_living;
  }
  return {&connection, [self = shared_from_this()](NetworkTCPConnection* peer) {
            MutexLock lock(self->_mutex);
            // Unless its place was given away.
            self->_places.remove_if([peer](const Place& taken) { return taken.peer == peer; });
            --self->_living;
            self->_left.Broadcast();
          }};
}

void Places::FreeOne() {
  MutexLock lock(_mutex);
  MakeRoom(nullptr, false, 0);
}

bool Places::End(std::chrono::steady_clock::time_point deadline) {
  MutexLock lock(_mutex);
  _ended = true;
  for (const Place& place : _places) place.peer->Stop();
  while (_living > 0 && _left.WaitUntil(_mutex, deadline)) {
  }
  return _living == 0;
}

void Places::NameHolders(Place& newcomer, int port) {
  std::vector<Holder*> holders = {&newcomer.holder};
  for (Place& place : _places) holders.push_back(&place.holder);
  Holder::NameUsers("tcp", port, holders);
}

std::size_t Places::CountOthers() const {
  return static_cast<std::size_t>(std::count_if(
      _places.begin(), _places.end(), [](const Place& place) { return !place.holder.IsOwn(); }));
}

// Ends a peer of the holder that has the most: a silent one first, one that listens to changes
// last, and of these the one that has asked nothing for longest. False when nobody has to give way
// to `newcomer`, which is null where anybody has. `amongOthers` spares the device's own user.
bool Places::MakeRoom(const Holder* newcomer, bool amongOthers, std::size_t share) {
  std::map<Holder, std::size_t> counts;
  for (const Place& place : _places) ++counts[place.holder];
  const std::size_t mine = newcomer == nullptr ? 0 : ++counts[*newcomer];
  const std::chrono::milliseconds idleTime(limits::kIdlePeerMs);
  const auto rank = [&](const Place& place) {
    const NetworkTCPConnection& peer = *place.peer;
    const std::size_t count = counts[place.holder];
    const bool isIdle = !peer.HasConnected() || peer.GetIdleTime() > idleTime;
    const bool isMine = newcomer != nullptr && place.holder == *newcomer;
    const bool givesWay = isIdle ? count >= mine : !isMine && count > share;
    const bool isSpared = amongOthers && place.holder.IsOwn();
    return std::make_tuple(isSpared || !givesWay, !isIdle, SIZE_MAX - count, peer.HasConnected(),
                           peer.IsListening(), -peer.GetIdleTime());
  };
  const auto victim = std::min_element(
      _places.begin(), _places.end(),
      [&](const Place& left, const Place& right) { return rank(left) < rank(right); });
  if (victim == _places.end() || std::get<0>(rank(*victim))) return false;
  victim->peer->Stop();
  _places.erase(victim);
  return true;
}

}  // namespace qel::vorlane::config::access
