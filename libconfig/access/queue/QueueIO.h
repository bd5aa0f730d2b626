// Opening POSIX message queues, sending to and receiving from them until a point in time, and the
// reader of a connection's response queue. Internal.
//
// A descriptor of a queue is a file descriptor here, which poll and fstat take.
#pragma once

#include <mqueue.h>
#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "libconfig/access/RecordExchange.h"

namespace qel::config {

// Opens or makes a queue of this user's own, locked for as long as it is open. -1 with the reason
// in errno: EWOULDBLOCK where somebody else has it locked, EACCES for one that is another user's,
// ESTALE for one that was removed meanwhile and can be tried again.
mqd_t OpenLockedQueue(const std::string& name);

// False with the reason in errno: ETIMEDOUT when the queue stayed full until `deadline`.
bool SendToQueue(mqd_t queue, const void* message, std::size_t length, unsigned priority,
                 Deadline deadline);

// The next message, whether or not the queue blocks: its length, or -1 with the reason in errno,
// ETIMEDOUT when none came until `deadline`. The other two are -1 for none: `wake` is a descriptor
// that becomes readable when the wait is to end with ECANCELED, unless the queue blocks and the
// wait has just begun; `daemon` is the queue that the message is an answer to, and ENOENT ends the
// wait when that has been removed.
ssize_t ReceiveFromQueue(mqd_t queue, char* buffer, std::size_t size, Deadline deadline,
                         int wake = -1, mqd_t daemon = -1);

// The size of the largest message, and of the buffer that every receive needs. -1 with the reason
// in errno; a size that no queue of ours has is refused with EMSGSIZE.
long GetQueueMessageSize(mqd_t queue);

// Whether the queue has been removed, as a daemon that ends in order does with its own.
bool IsQueueGone(mqd_t queue);

class QueueReader : public RecordReader {
 public:
  // The descriptors stay the caller's. Answers are not waited for when `requests` is gone.
  QueueReader(mqd_t queue, std::size_t messageSize, mqd_t requests);
  ~QueueReader() override;
  QueueReader(const QueueReader&) = delete;
  QueueReader& operator=(const QueueReader&) = delete;

  // 0, or the error number where no wait could be ended: an endless one fails then.
  int GetError() const { return _error; }

  Received Read(ReceivedRecord& record, Deadline deadline, RecordExchange& exchange) override;
  void Interrupt(bool isReading) override;
  bool IsReliable() const override { return false; }

 private:
  const mqd_t _queue;
  const mqd_t _requests;
  const int _wake;  // an eventfd, readable once interrupted
  const int _error;
  std::atomic<bool> _interrupted{false};
  std::vector<char> _buffer;
};

}  // namespace qel::config
