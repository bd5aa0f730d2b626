#include "configd/RequestQueue.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>
#include <utility>

#include "libconfig/libconfig.h"

namespace {

constexpr unsigned kWakePriority = 31;
// Somebody who removes the queue at the same moment, or only looks whether it is locked, is no
// reason to give up.
constexpr int kAttempts = 100;
constexpr std::chrono::milliseconds kPause{2};

const char* Advice(int error) {
  switch (error) {
    case EINVAL:
      return "set fs.mqueue.msg_max to 128 or more (sysctl -w fs.mqueue.msg_max=128)";
    case EMFILE:
    case ENOMEM:
      return "raise RLIMIT_MSGQUEUE (ulimit -q, or LimitMSGQUEUE= of the service)";
    case ENOSPC:
      return "set fs.mqueue.queues_max higher";
    case EACCES:
      return "it belongs to another user: run as that one, or name another with --queue";
    case ENOSYS:
      return "the kernel was built without them";
    default:
      return "see to this";
  }
}

// All of what the user may have is for queues.
void RaiseQueueLimit() {
  rlimit limit;
  if (::getrlimit(RLIMIT_MSGQUEUE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_MSGQUEUE, &limit);
}

}  // namespace

RequestQueue::RequestQueue(std::string name) : _name(std::move(name)) {}

RequestQueue::~RequestQueue() {
  if (_queue == -1) return;
  ::mq_unlink(_name.c_str());
  ::mq_close(_queue);
}

// 0, EBUSY when another daemon has the queue, EAGAIN to try once more, or what is wrong.
int RequestQueue::OpenOnce() {
  mq_attr attributes = {};
  attributes.mq_maxmsg = PosixMQFactory::kMessages;
  attributes.mq_msgsize = PosixMQFactory::kMessageSize;
  const mqd_t queue =
      ::mq_open(_name.c_str(), O_RDWR | O_CREAT, PosixMQFactory::kMode, &attributes);
  if (queue == -1) return errno;
  const auto give_up = [queue](int error) {
    ::mq_close(queue);
    return error;
  };
  if (::flock(queue, LOCK_EX | LOCK_NB) != 0) {
    return give_up(errno == EWOULDBLOCK ? EBUSY : errno);
  }
  struct stat status;
  mq_attr actual;
  if (::fstat(queue, &status) != 0 || ::mq_getattr(queue, &actual) != 0) return give_up(errno);
  if (status.st_uid != ::geteuid()) return give_up(EACCES);
  // Its daemon ended between the two calls.
  if (status.st_nlink == 0) return give_up(EAGAIN);
  if (actual.mq_maxmsg != attributes.mq_maxmsg || actual.mq_msgsize != attributes.mq_msgsize) {
    ::mq_unlink(_name.c_str());
    return give_up(EAGAIN);
  }
  ::fchmod(queue, PosixMQFactory::kMode);
  _queue = queue;
  return 0;
}

RequestQueue::Opened RequestQueue::Open() {
  RaiseQueueLimit();
  int error = EAGAIN;
  for (int i = 0; i < kAttempts && (error == EAGAIN || error == EBUSY); ++i) {
    if (error == EBUSY) std::this_thread::sleep_for(kPause);
    error = OpenOnce();
  }
  if (error == 0) return Opened::kYes;
  if (error == EBUSY) {
    std::fprintf(stderr,
                 "configd: cannot serve mq:%s: another configd serves it; stop that one, or start "
                 "with --queue NAME for another queue, or with --no-queue for none\n",
                 _name.c_str());
    return Opened::kTaken;
  }
  std::fprintf(stderr, "configd: not serving mq:%s: %s; %s, or start with --no-queue\n",
               _name.c_str(), std::strerror(error), Advice(error));
  return Opened::kUnavailable;
}

bool RequestQueue::Receive(std::string& request) {
  request.resize(PosixMQFactory::kMessageSize);
  const ssize_t length = ::mq_receive(_queue, request.data(), request.size(), nullptr);
  request.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  return length > 0;
}

// An empty message is no request. Where none fits in, whoever receives is awake.
void RequestQueue::Wake() {
  constexpr timespec kNoTime = {};
  ::mq_timedsend(_queue, "", 0, kWakePriority, &kNoTime);
}
