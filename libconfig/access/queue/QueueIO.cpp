#include "libconfig/access/queue/QueueIO.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "libconfig/access/MessageRecords.h"
#include "libconfig/access/queue/PosixMQFactory.h"
#include "libconfig/base/Limits.h"

namespace qel::config {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

namespace {

// How often one who waits for an answer looks whether the daemon is still there.
constexpr milliseconds kLookForDaemon(1000);

// How long the kernel is asked to wait by the wall clock, which may be set back meanwhile.
constexpr milliseconds kSoon(50);

// For what is possible at once.
constexpr timespec kPast = {};

// `deadline` by the wall clock, or soon if that is earlier. Clocks that only count the ticks are
// the cheapest to read, and exact enough as both do.
timespec SoonByWallClock(Deadline deadline) {
  timespec wall;
  timespec steady;
  ::clock_gettime(CLOCK_REALTIME_COARSE, &wall);
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &steady);
  const Deadline now(std::chrono::seconds(steady.tv_sec) + nanoseconds(steady.tv_nsec));
  const nanoseconds wait = std::clamp<nanoseconds>(deadline - now, nanoseconds(0), kSoon);
  wall.tv_nsec += static_cast<long>(wait.count());
  if (wall.tv_nsec >= 1000000000) {
    wall.tv_nsec -= 1000000000;
    ++wall.tv_sec;
  }
  return wall;
}

// 0 when the queue is ready for `events`, else the error number.
int Poll(mqd_t queue, short events, int wake, Deadline deadline) {
  int time = -1;
  if (deadline != kForever) {
    // Rounded up so that the end is not polled for.
    const auto left =
        std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
    time = static_cast<int>(std::clamp<milliseconds::rep>(left.count() + 1, 0, 1000000));
  }
  pollfd wanted[] = {{queue, events, 0}, {wake, POLLIN, 0}};
  if (::poll(wanted, 2, time) < 0) return errno;
  if (wanted[1].revents != 0) return ECANCELED;
  if ((wanted[0].revents & POLLNVAL) != 0) return EBADF;
  return wanted[0].revents != 0 ? 0 : ETIMEDOUT;
}

}  // namespace

mqd_t OpenLockedQueue(const std::string& name) {
  mq_attr attributes = {};
  attributes.mq_maxmsg = PosixMQFactory::kMessages;
  attributes.mq_msgsize = PosixMQFactory::kMessageSize;
  const mqd_t queue = ::mq_open(name.c_str(), O_RDWR | O_CREAT, PosixMQFactory::kMode, &attributes);
  if (queue == -1) return -1;
  struct stat status;
  int error = 0;
  if (::flock(queue, LOCK_EX | LOCK_NB) != 0 || ::fstat(queue, &status) != 0) {
    error = errno;
  } else if (status.st_uid != ::geteuid()) {
    error = EACCES;
  } else if (status.st_nlink == 0) {
    error = ESTALE;
  }
  if (error == 0) return queue;
  ::mq_close(queue);
  errno = error;
  return -1;
}

bool SendToQueue(mqd_t queue, const void* message, std::size_t length, unsigned priority,
                 Deadline deadline) {
  for (;;) {
    if (::mq_timedsend(queue, static_cast<const char*>(message), length, priority, &kPast) == 0) {
      return true;
    }
    if (errno == EINTR) continue;
    if (errno != ETIMEDOUT) return false;
    const int error = Poll(queue, POLLOUT, -1, deadline);
    if (error == 0 || error == EINTR) continue;
    errno = error;
    return false;
  }
}

ssize_t ReceiveFromQueue(mqd_t queue, char* buffer, std::size_t size, Deadline deadline, int wake,
                         mqd_t daemon) {
  // One call is all it takes when the queue blocks and the message comes soon. Who has to wait
  // longer polls, by a clock that nobody sets.
  const bool isBounded = deadline != kNoWait && deadline != kForever;
  timespec end = isBounded ? SoonByWallClock(deadline) : kPast;
  for (;; end = kPast) {
    const ssize_t length = ::mq_timedreceive(queue, buffer, size, nullptr, &end);
    if (length >= 0) return length;
    if (errno == EINTR) continue;
    if ((errno != EAGAIN && errno != ETIMEDOUT) || deadline == kNoWait) return -1;
    const Deadline look = isBounded ? std::min(deadline, After(kLookForDaemon)) : kForever;
    const int error = Poll(queue, POLLIN, wake, look);
    if (error == 0 || error == EINTR) continue;
    errno = error;
    if (error != ETIMEDOUT || look == deadline) return -1;
    if (!IsQueueGone(daemon)) continue;
    errno = ENOENT;
    return -1;
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
  if (isReading) ::mq_timedsend(_queue, "", 0, 0, &kPast);
}

Received QueueReader::Read(ReceivedRecord& record, Deadline deadline, RecordExchange&) {
  if (deadline == kForever && _error != 0) {
    errno = _error;
    return Received::kFailed;
  }
  const ssize_t length =
      ReceiveFromQueue(_queue, _buffer.data(), _buffer.size(), deadline, _wake, _requests);
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
