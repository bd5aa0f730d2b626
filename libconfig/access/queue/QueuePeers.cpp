#include "libconfig/access/queue/QueuePeers.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/PeerName.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/serialization/Identifiers.h"

namespace qel::config {

namespace {

// The priority that clients ask for is this one or none.
constexpr unsigned kHighPriority = 10;
constexpr long kLargestProcessNumber = 4194304;
// Messages that changes leave free in a client's queue, so that an answer always finds room.
constexpr long kForAnswers = 8;  // at most half of them
// A client that has not read for this long is reported.
constexpr std::chrono::seconds kSlow{1};

bool Exists(long pid) { return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM; }

// A process that the connection can belong to, or 0: its identifier has the low half of the number.
long FindProcess(uint32_t id) {
  for (long pid = id >> 16; pid <= kLargestProcessNumber; pid += 0x10000) {
    if (pid != 0 && Exists(pid)) return pid;
  }
  return 0;
}

}  // namespace

QueuePeers::~QueuePeers() {
  for (const auto& entry : _peers) ::mq_close(entry.second.queue);
}

mqd_t QueuePeers::OpenQueue(uint32_t id) {
  const std::string name = ConnectionUtilities::GetQueueName(id);
  const mqd_t queue = ::mq_open(name.c_str(), O_WRONLY | O_NONBLOCK);
  if (queue == -1) return -1;
  struct stat status;
  if (::fstat(queue, &status) == 0 && status.st_uid == ::geteuid()) return queue;
  ::mq_close(queue);
  return -1;
}

uint32_t QueuePeers::Open(uint32_t id, uint32_t priority) {
  Close(id);
  MutexLock lock(_mutex);
  if (_peers.size() >= limits::kQueueClients) return eMessageError_TooMany;
  const auto place = _peers.emplace(id, Peer()).first;
  Peer& peer = place->second;
  try {
    peer.queue = OpenQueue(id);
  } catch (const std::bad_alloc&) {
    // Cannot be had now.
  }
  peer.priority = std::min(priority, kHighPriority);
  if (peer.queue != -1) return 0;
  _peers.erase(place);
  return eMessageError_NotConnected;
}

void QueuePeers::Close(uint32_t id) {
  MutexLock lock(_mutex);
  const auto found = _peers.find(id);
  if (found == _peers.end()) return;
  ::mq_close(found->second.queue);
  _peers.erase(found);
}

QueuePeers::Peers::iterator QueuePeers::Drop(Peers::iterator peer) noexcept {
  Report("QueuePeers::Announce - no memory, a client that listens is dropped\n");
  ::mq_close(peer->second.queue);
  return _peers.erase(peer);
}

void QueuePeers::DropListening() noexcept {
  MutexLock lock(_mutex);
  for (auto next = _peers.begin(); next != _peers.end();) {
    next = next->second.isListening ? Drop(next) : std::next(next);
  }
}

bool QueuePeers::Contains(uint32_t id) {
  MutexLock lock(_mutex);
  return _peers.count(id) != 0;
}

bool QueuePeers::SetListening(uint32_t id, bool listening) {
  MutexLock lock(_mutex);
  const auto found = _peers.find(id);
  if (found == _peers.end()) return false;
  found->second.isListening = listening;
  if (!listening) found->second.kept.clear();
  return true;
}

// 0, or the error number.
int QueuePeers::Send(mqd_t queue, XCONFIGMGR_RESPONSE_T& response, std::vector<char>& record) {
  const char* message = reinterpret_cast<const char*>(&response);
  std::size_t size = sizeof response;
  if (!record.empty()) {
    response.streamLength = static_cast<uint32_t>(record.size() - sizeof response);
    response.streamFormat = eSerializationFormat_Queue;
    std::memcpy(record.data(), &response, sizeof response);
    message = record.data();
    size = record.size();
  }
  while (::mq_send(queue, message, size, response.priority) != 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

void QueuePeers::Answer(XCONFIGMGR_RESPONSE_T response, std::vector<char> record) {
  MutexLock lock(_mutex);
  const auto found = _peers.find(response.connectionID);
  const bool known = found != _peers.end();
  const mqd_t queue = known ? found->second.queue : OpenQueue(response.connectionID);
  if (queue == -1) return;
  response.priority = known ? found->second.priority : 0;
  if (Send(queue, response, record) == EMSGSIZE && !record.empty()) {
    // The client's queue takes less than ours.
    record.clear();
    response.error = eMessageError_TooLong;
    response.streamLength = 0;
    response.streamFormat = 0;
    Send(queue, response, record);
  }
  if (!known) {
    ::mq_close(queue);
  } else if (!found->second.kept.empty()) {
    SendKept(found->second);
  }
}

bool QueuePeers::HasRoom(const Peer& peer) {
  mq_attr attributes;
  return ::mq_getattr(peer.queue, &attributes) == 0 &&
         attributes.mq_curmsgs + std::min(kForAnswers, attributes.mq_maxmsg / 2) <
             attributes.mq_maxmsg;
}

// True when something was sent.
bool QueuePeers::SendKept(Peer& peer) {
  std::size_t sent = 0;
  while (sent < peer.kept.size() && HasRoom(peer)) {
    Change& change = peer.kept[sent];
    if (Send(peer.queue, change.event, change.record) == EAGAIN) break;
    ++sent;
  }
  peer.kept.erase(peer.kept.begin(), peer.kept.begin() + static_cast<std::ptrdiff_t>(sent));
  if (sent > 0) peer.lastRead = Clock::now();
  return sent > 0;
}

void QueuePeers::Keep(Peer& peer, const XCONFIGMGR_RESPONSE_T& event,
                      const std::vector<char>& record) {
  std::vector<Change>& kept = peer.kept;
  if (kept.empty()) peer.lastRead = Clock::now();
  kept.erase(
      std::remove_if(kept.begin(), kept.end(),
                     [&](const Change& change) { return change.event.paramID == event.paramID; }),
      kept.end());
  kept.push_back({event, record});
}

bool QueuePeers::Announce(XCONFIGMGR_RESPONSE_T event, std::vector<char> record) {
  MutexLock lock(_mutex);
  bool kept = false;
  for (auto next = _peers.begin(); next != _peers.end();) {
    const auto current = next++;
    Peer& peer = current->second;
    if (!peer.isListening) continue;
    event.connectionID = current->first;
    event.priority = peer.priority;
    if (peer.kept.empty() && HasRoom(peer) && Send(peer.queue, event, record) != EAGAIN) continue;
    try {
      Keep(peer, event, record);
      kept = true;
    } catch (const std::bad_alloc&) {
      Drop(current);
    }
  }
  return kept;
}

QueuePeers::Kept QueuePeers::Flush(const OnSlow& onSlow) {
  std::vector<std::pair<uint32_t, long>> slow;
  bool sent = false;
  bool kept = false;
  {
    MutexLock lock(_mutex);
    for (auto& [id, peer] : _peers) {
      if (peer.kept.empty()) continue;
      sent |= SendKept(peer);
      if (peer.kept.empty()) continue;
      kept = true;
      if (peer.isReported || Clock::now() - peer.lastRead < kSlow) continue;
      const long process = FindProcess(id);
      if (process == 0) continue;
      peer.isReported = true;
      slow.emplace_back(id, process);
    }
  }
  for (const auto& [id, process] : slow) {
    if (onSlow)
      onSlow(ProgramOf(static_cast<unsigned>(process)), process,
             ConnectionUtilities::GetQueueName(id));
  }
  if (!kept) return Kept::kNothing;
  return sent ? Kept::kLess : Kept::kAsMuch;
}

void QueuePeers::Sweep() {
  MutexLock lock(_mutex);
  for (auto next = _peers.begin(); next != _peers.end();) {
    if (FindProcess(next->first) != 0) {
      ++next;
      continue;
    }
    try {
      ::mq_unlink(ConnectionUtilities::GetQueueName(next->first).c_str());
    } catch (const std::bad_alloc&) {
      ++next;  // next time
      continue;
    }
    ::mq_close(next->second.queue);
    next = _peers.erase(next);
  }
}

}  // namespace qel::config
