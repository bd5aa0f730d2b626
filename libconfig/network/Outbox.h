// The bounded send buffer of one peer. A record enters it whole, and putting one never waits; what
// the system does not accept at once is sent when the peer has read. A peer that does not read
// fills its outbox and is dropped. Internal.
//
// Put and flush on any thread: the notifier's, the connection's own, and the process's flusher,
// which empties outboxes as soon as the system accepts more. All of them hold the outbox by a
// shared pointer, so that it may outlive its connection; Close ends its use of the socket.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "libconfig/base/Mutex.h"

class Socket;

namespace qel::vorlane::config::access {

class Outbox : public std::enable_shared_from_this<Outbox> {
 public:
  enum class Put {
    kTaken,
    kFull,  // no room, and the system takes nothing
    kGone,  // closed, or the peer has disconnected
  };

  explicit Outbox(Socket& socket) : _socket(&socket) {}

  // Takes the record, whole or not at all, and sends it now, or at the end of the calling thread's
  // FlushBatch. An empty outbox takes a record of any size.
  Put PutRecord(const void* data, std::size_t length);

  // The same for the connection's own thread, which may wait until the peer has read. False when
  // the peer has disconnected.
  bool PutAnswer(const void* data, std::size_t length);

  // Sends what the system takes without waiting. False while something is left.
  bool Flush();

  // Back-pressure on a peer that sends requests and does not read: waits until no more than half of
  // the room is taken. False when the peer has disconnected.
  bool WaitForRoom();

  // Waits until everything is sent, at most this long for each bit of progress. For the
  // connection's own thread, when nothing more is received.
  bool Drain(int milliseconds);

  // Drops the backlog and releases the socket.
  void Close();

  // The socket's descriptor for poll, -1 when closed. Its number may be stale by the time it is
  // used.
  int Descriptor();

 private:
  std::size_t Waiting() const LIBCONFIG_REQUIRES(_mutex) { return _bytes.size() - _sent; }
  bool WaitUntilAtMost(std::size_t bytes, int milliseconds);
  std::size_t SendSome(const char* bytes, std::size_t length) LIBCONFIG_REQUIRES(_mutex);
  void FlushLocked() LIBCONFIG_REQUIRES(_mutex);
  void Drop() LIBCONFIG_REQUIRES(_mutex);

  qel::config::Mutex _mutex;
  Socket* _socket LIBCONFIG_GUARDED_BY(_mutex);  // null when closed or broken
  std::vector<char> _bytes LIBCONFIG_GUARDED_BY(_mutex);
  std::size_t _sent LIBCONFIG_GUARDED_BY(_mutex) = 0;      // bytes at the front that are gone
  bool _batched LIBCONFIG_GUARDED_BY(_mutex) = false;      // some batch is going to flush
  bool _withFlusher LIBCONFIG_GUARDED_BY(_mutex) = false;  // the flusher waits for the peer
};

// Batches sends: while one exists and more requests are buffered, the records that its thread puts
// into outboxes stay there until Flush. The results of the last request are sent at once, as its
// listeners may take any time. At most one a thread.
class FlushBatch {
 public:
  explicit FlushBatch(std::function<bool()> isMoreAtHand);
  ~FlushBatch();
  FlushBatch(const FlushBatch&) = delete;
  FlushBatch& operator=(const FlushBatch&) = delete;

  void Flush();
  // Flushes what has waited for long. For between two requests.
  void FlushWhenOld();

  // The calling thread's batch, or null.
  static FlushBatch* Current();
  bool IsGathering() const { return _isMoreAtHand(); }
  void Add(std::shared_ptr<Outbox> outbox);

 private:
  const std::function<bool()> _isMoreAtHand;
  std::chrono::steady_clock::time_point _oldest;  // when the first of _outboxes came
  std::vector<std::shared_ptr<Outbox>> _outboxes;
};

}  // namespace qel::vorlane::config::access
