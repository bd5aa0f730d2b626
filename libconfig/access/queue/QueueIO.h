// Sending to and receiving from POSIX message queues with an end to every wait. Internal.
//
// A descriptor of a queue is a file descriptor here, which poll and fstat take.
#pragma once

#include <mqueue.h>
#include <sys/types.h>

#include <chrono>
#include <cstddef>

namespace qel::config {

using QueueClock = std::chrono::steady_clock;

// False with the reason in errno: ETIMEDOUT when the queue stayed full until `deadline`.
bool SendToQueue(mqd_t queue, const void* message, std::size_t length, unsigned priority,
                 QueueClock::time_point deadline);

// The next message, whether or not the queue blocks: its length, or -1 with the reason in errno,
// ETIMEDOUT when none came until `deadline`. A queue that does not block is waited for together
// with `wake`, a descriptor that becomes readable when the wait is to end with ECANCELED; -1 for
// none.
ssize_t ReceiveFromQueue(mqd_t queue, char* buffer, std::size_t size,
                         QueueClock::time_point deadline, int wake);

// Gives an empty message to whoever waits for one, where there is room: where there is none, nobody
// waits.
void WakeReceiver(mqd_t queue);

// The same as soon as somebody says so by `wake` only.
ssize_t WaitForQueue(mqd_t queue, char* buffer, std::size_t size, int wake);

// What is there already; EAGAIN when that is nothing.
ssize_t ReceiveQueued(mqd_t queue, char* buffer, std::size_t size);

// The size of the largest message, and of the buffer that every receive needs. -1 with the reason
// in errno; a size that no queue of ours has is refused with EMSGSIZE.
long GetQueueMessageSize(mqd_t queue);

}  // namespace qel::config
