#include "libconfig/access/queue/QueueIO.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "libconfig/access/MessageRecords.h"
#include "libconfig/base/Limits.h"

namespace qel::config {

using std::chrono::milliseconds;

namespace {

// How often one who waits for an answer looks whether the daemon is still there.
constexpr milliseconds kLookForDaemon(1000);

// The kernel counts by the wall clock, which may be set meanwhile: what has really passed is looked
// at whenever a wait is over.
timespec ToWallClock(Deadline deadline) {
  const auto left = std::max(deadline - std::chrono::steady_clock::now(),
                             std::chrono::steady_clock::duration::zero());
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
int PollTime(Deadline deadline) {
  const auto left =
      std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
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
                 Deadline deadline) {
  // As long as there is room nobody looks at the time.
  timespec end = {};
  for (;; end = ToWallClock(deadline)) {
    if (::mq_timedsend(queue, static_cast<const char*>(message), length, priority, &end) == 0) {
      return true;
    }
    if (errno == EINTR) continue;
    if (errno != ETIMEDOUT || std::chrono::steady_clock::now() >= deadline) return false;
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

ssize_t ReceiveFromQueue(mqd_t queue, char* buffer, std::size_t size, Deadline deadline, int wake) {
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
    if (errno == ETIMEDOUT && std::chrono::steady_clock::now() >= deadline) return -1;
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

bool IsQueueGone(mqd_t queue) {
  struct stat status;
  return ::fstat(queue, &status) == 0 && status.st_nlink == 0;
}

QueueReader::QueueReader(mqd_t queue, std::size_t messageSize, mqd_t requests)
    : _queue(queue),
      _requests(requests),
      _wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      _error(_wake < 0 ? errno : 0),
      _buffer(messageSize) {}

QueueReader::~QueueReader() {
  if (_wake >= 0) ::close(_wake);
}

void QueueReader::Interrupt(bool isReading) {
  _interrupted = true;
  const uint64_t one = 1;
  if (::write(_wake, &one, sizeof one) < 0) errno = 0;  // it is readable already
  // While the queue blocks its reader looks at nothing else. Where there is no room, nobody waits.
  constexpr timespec kPast = {};
  if (isReading) ::mq_timedsend(_queue, "", 0, 0, &kPast);
}

ssize_t QueueReader::Receive(Deadline deadline) {
  if (deadline == kNoWait) return ReceiveQueued(_queue, _buffer.data(), _buffer.size());
  if (deadline != kForever) {
    for (;;) {
      const Deadline look = std::min(deadline, After(kLookForDaemon));
      const ssize_t length = ReceiveFromQueue(_queue, _buffer.data(), _buffer.size(), look, _wake);
      if (length >= 0 || errno != ETIMEDOUT || look == deadline) return length;
      if (!IsQueueGone(_requests)) continue;
      errno = ENOENT;
      return -1;
    }
  }
  for (;;) {
    const int error = _error != 0 ? _error : Poll(_queue, _wake, -1);
    if (error == EINTR) continue;
    errno = error;
    if (error != 0) return -1;
    const ssize_t length = ReceiveQueued(_queue, _buffer.data(), _buffer.size());
    if (length >= 0 || errno != EAGAIN) return length;
  }
}

Received QueueReader::Read(ReceivedRecord& record, Deadline deadline, RecordExchange&) {
  const ssize_t length = Receive(deadline);
  if (length < 0) {
    if (errno == ECANCELED) return Received::kEnded;
    return errno == EAGAIN || errno == ETIMEDOUT ? Received::kTimeout : Received::kFailed;
  }
  if (length == 0 && _interrupted) return Received::kIgnored;
  const auto size = static_cast<std::size_t>(length);
  constexpr std::size_t kRecord = sizeof(XCONFIGMGR_RESPONSE_T);
  record.size = std::min(size, kRecord);
  std::memcpy(record.GetBytes(), _buffer.data(), record.size);
  if (record.size == kRecord) {
    record.stream.assign(_buffer.data() + kRecord, _buffer.data() + size);
  } else if (record.IsEvent()) {
    return Received::kIgnored;
  }
  return Received::kRecord;
}

}  // namespace qel::config
