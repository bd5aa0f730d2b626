#include "libconfig/access/queue/QueueIO.h"

#include <poll.h>
#include <time.h>

#include <algorithm>
#include <cerrno>

#include "libconfig/base/Limits.h"

namespace qel::config {

using std::chrono::milliseconds;

namespace {

// The kernel counts by the wall clock, which may be set meanwhile: what has really passed is looked
// at whenever a wait is over.
timespec ToWallClock(QueueClock::time_point deadline) {
  const auto left = std::max(deadline - QueueClock::now(), QueueClock::duration::zero());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
  timespec time;
  ::clock_gettime(CLOCK_REALTIME, &time);
  time.tv_sec += static_cast<time_t>(seconds.count());
  time.tv_nsec += static_cast<long>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(left - seconds).count());
  if (time.tv_nsec >= 1000000000) {
    time.tv_nsec -= 1000000000;
    ++time.tv_sec;
  }
  return time;
}

// Milliseconds as poll takes them, rounded up so that the end is not polled for.
int PollTime(QueueClock::time_point deadline) {
  const auto left = std::chrono::duration_cast<milliseconds>(deadline - QueueClock::now());
  return static_cast<int>(std::clamp<milliseconds::rep>(left.count() + 1, 0, 1000000));
}

// 0 when the queue can be read, else the error number.
int Poll(mqd_t queue, int wake, int time) {
  pollfd wanted[] = {{queue, POLLIN, 0}, {wake, POLLIN, 0}};
  if (::poll(wanted, 2, time) < 0) return errno;
  if (wanted[1].revents != 0) return ECANCELED;
  if ((wanted[0].revents & POLLNVAL) != 0) return EBADF;
  return wanted[0].revents != 0 ? 0 : ETIMEDOUT;
}

}  // namespace

bool SendToQueue(mqd_t queue, const void* message, std::size_t length, unsigned priority,
                 QueueClock::time_point deadline) {
  // As long as there is room nobody looks at the time.
  timespec end = {};
  for (;; end = ToWallClock(deadline)) {
    if (::mq_timedsend(queue, static_cast<const char*>(message), length, priority, &end) == 0) {
      return true;
    }
    if (errno == EINTR) continue;
    if (errno != ETIMEDOUT || QueueClock::now() >= deadline) return false;
  }
}

ssize_t ReceiveQueued(mqd_t queue, char* buffer, std::size_t size) {
  constexpr timespec kPast = {};
  for (;;) {
    const ssize_t length = ::mq_timedreceive(queue, buffer, size, nullptr, &kPast);
    if (length >= 0) return length;
    if (errno == EINTR) continue;
    if (errno == ETIMEDOUT) errno = EAGAIN;
    return -1;
  }
}

ssize_t ReceiveFromQueue(mqd_t queue, char* buffer, std::size_t size,
                         QueueClock::time_point deadline, int wake) {
  for (;;) {
    // One call is all it takes while the queue blocks.
    const timespec end = ToWallClock(deadline);
    const ssize_t length = ::mq_timedreceive(queue, buffer, size, nullptr, &end);
    if (length >= 0) return length;
    if (errno != EINTR && errno != EAGAIN && errno != ETIMEDOUT) return -1;
    if (errno == EAGAIN) {
      const int error = Poll(queue, wake, PollTime(deadline));
      if (error == 0 || error == EINTR) continue;
      errno = error;
      if (error != ETIMEDOUT) return -1;
    }
    if (errno == ETIMEDOUT && QueueClock::now() >= deadline) return -1;
  }
}

void WakeReceiver(mqd_t queue) {
  constexpr timespec kNoTime = {};
  ::mq_timedsend(queue, "", 0, 0, &kNoTime);
}

ssize_t WaitForQueue(mqd_t queue, char* buffer, std::size_t size, int wake) {
  for (;;) {
    const int error = Poll(queue, wake, -1);
    if (error == EINTR) continue;
    if (error != 0) {
      errno = error;
      return -1;
    }
    const ssize_t length = ReceiveQueued(queue, buffer, size);
    if (length >= 0 || errno != EAGAIN) return length;
  }
}

long GetQueueMessageSize(mqd_t queue) {
  mq_attr attributes;
  if (::mq_getattr(queue, &attributes) != 0) return -1;
  if (attributes.mq_msgsize <= static_cast<long>(limits::kQueueRecord)) {
    return attributes.mq_msgsize;
  }
  errno = EMSGSIZE;
  return -1;
}

}  // namespace qel::config
