// The clients that are connected over message queues: the response queue of each, and which of them
// listen. Nothing here waits for a client: for one whose queue is full the latest change of each
// parameter is kept until it has read on. Any thread. Internal.
#pragma once

#include <mqueue.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "libconfig/access/MessageRecords.h"
#include "libconfig/base/Mutex.h"

namespace qel::config {

class QueuePeers {
 public:
  // The program, its process number and the name of the queue that it does not read.
  using OnSlow = std::function<void(const std::string&, long, const std::string&)>;

  QueuePeers() = default;
  ~QueuePeers();
  QueuePeers(const QueuePeers&) = delete;
  QueuePeers& operator=(const QueuePeers&) = delete;

  // 0, or an eMessageError. A connection that exists begins anew. Only a queue of this process's
  // own user is accepted, and written to: without one nobody can be answered.
  uint32_t Open(uint32_t id, uint32_t priority);
  void Close(uint32_t id);
  bool Contains(uint32_t id);
  // False when there is no such connection.
  bool SetListening(uint32_t id, bool listening);

  // Sends to the connection that `response` names, or, when it is none, to the response queue of
  // that name. `record` is empty, or has the value behind room for the response. Changes that are
  // kept for the connection follow as far as there is room.
  void Answer(XCONFIGMGR_RESPONSE_T response, std::vector<char> record = {});
  // Sends to every connection that listens. True when something had to be kept.
  bool Announce(XCONFIGMGR_RESPONSE_T event, std::vector<char> record = {});

  // For want of memory to notify them: every connection that listens ends, as it would hold stale
  // values. Allocates nothing.
  void DropListening() noexcept;

  enum class Kept {
    kNothing,
    kLess,  // than at the last call
    kAsMuch,
  };
  // Sends as much of what is kept as there is room for. `onSlow` hears of each client that has not
  // read for a while, once; it may be empty.
  Kept Flush(const OnSlow& onSlow);

  // Closes and removes the queues of processes that have ended.
  void Sweep();

 private:
  using Clock = std::chrono::steady_clock;
  struct Change {
    XCONFIGMGR_RESPONSE_T event;
    std::vector<char> record;
  };
  struct Peer {
    mqd_t queue = -1;
    unsigned priority = 0;
    bool isListening = false;
    std::vector<Change> kept;    // in the order of their events, at most one for each parameter
    Clock::time_point lastRead;  // when the client was last seen to have read
    bool isReported = false;     // as slow
  };

  static bool HasRoom(const Peer& peer);
  static bool SendKept(Peer& peer);
  static void Keep(Peer& peer, const XCONFIGMGR_RESPONSE_T& event, const std::vector<char>& record);
  static mqd_t OpenQueue(uint32_t id);
  static int Send(mqd_t queue, XCONFIGMGR_RESPONSE_T& response, std::vector<char>& record);

  using Peers = std::map<uint32_t, Peer>;
  Peers::iterator Drop(Peers::iterator peer) noexcept LIBCONFIG_REQUIRES(_mutex);

  Mutex _mutex;
  Peers _peers LIBCONFIG_GUARDED_BY(_mutex);
};

}  // namespace qel::config
