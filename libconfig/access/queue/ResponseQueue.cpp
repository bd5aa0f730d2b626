#include "libconfig/access/queue/ResponseQueue.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "libconfig/access/queue/PosixMQFactory.h"
#include "libconfig/access/queue/QueueIO.h"
#include "libconfig/base/Diagnostics.h"

namespace qel::config {
namespace {

constexpr char kAdvice[] =
    "PosixMQFactory::Connect - If you are getting this error:\n"
    "PosixMQFactory::Connect - // You only need to do this once (per boot)\n"
    "PosixMQFactory::Connect - $ mkdir /dev/mqueue\n"
    "PosixMQFactory::Connect - $ mount -t mqueue none /dev/mqueue\n"
    "PosixMQFactory::Connect - // Do this each time you get this error\n"
    "PosixMQFactory::Connect - $ kill <your client pid>\n"
    "PosixMQFactory::Connect - $ kill <corewheel pid>\n"
    "PosixMQFactory::Connect - $ ls -la /dev/mqueue\n"
    "PosixMQFactory::Connect - $ rm /dev/mqueue/*\n"
    "PosixMQFactory::Connect - // This last command deletes the queues and gives you a fresh "
    "start\n"
    "PosixMQFactory::Connect - // To be fixed in a future release...\n"
    "PosixMQFactory::Connect - See mq_overview(7) for more about message queues\n";

void DoubleQueueLimit() {
  rlimit64 limit;
  if (::getrlimit64(RLIMIT_MSGQUEUE, &limit) != 0) return;
  const auto twice = [](rlim64_t value) {
    return value >= RLIM64_INFINITY / 2 ? value : value * 2;
  };
  limit.rlim_cur = twice(limit.rlim_cur);
  limit.rlim_max = twice(limit.rlim_max);
  ::setrlimit64(RLIMIT_MSGQUEUE, &limit);
}

mqd_t OpenOrMake(const std::string& name) {
  mq_attr attributes = {};
  attributes.mq_maxmsg = PosixMQFactory::kMessages;
  attributes.mq_msgsize = PosixMQFactory::kMessageSize;
  return ::mq_open(name.c_str(), O_RDWR | O_CREAT, PosixMQFactory::kMode, &attributes);
}

// A queue of that name may have been there before: another user's is none of ours, and what is left
// in one of our own is not for us. ESTALE for one that was removed meanwhile.
bool TakeOver(mqd_t queue) {
  struct stat status;
  if (::fstat(queue, &status) != 0) return false;
  if (status.st_uid != ::geteuid()) {
    errno = EACCES;
    return false;
  }
  while (::flock(queue, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EINTR) return false;
  }
  if (::fstat(queue, &status) != 0) return false;
  if (status.st_nlink == 0) {
    errno = ESTALE;
    return false;
  }
  const long size = GetQueueMessageSize(queue);
  if (size < 0) return false;
  std::vector<char> buffer(static_cast<std::size_t>(size));
  mq_attr left;
  if (::mq_getattr(queue, &left) != 0) return false;
  while (left.mq_curmsgs-- > 0 && ReceiveQueued(queue, buffer.data(), buffer.size()) >= 0) {
  }
  return true;
}

}  // namespace

mqd_t OpenResponseQueue(const std::string& name) {
  mqd_t queue = OpenOrMake(name);
  if (queue == -1 && (errno == ENOMEM || errno == EMFILE)) {
    DoubleQueueLimit();
    queue = OpenOrMake(name);
  }
  if (queue == -1 || TakeOver(queue)) return queue;
  const int saved = errno;
  ::mq_close(queue);
  errno = saved;
  return saved == ESTALE ? OpenResponseQueue(name) : -1;
}

void ReportNoResponseQueue(const std::string& name) {
  ReportErrno("PosixMQFactory::Connect - mq_open failed");
  Report("PosixMQFactory::Connect: mq_open on response queue %s failed\n", name.c_str());
  Report("%s", kAdvice);
}

}  // namespace qel::config
