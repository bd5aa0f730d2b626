#include "configctl/QueueLink.h"

#include <fcntl.h>
#include <mqueue.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

#include "configctl/Failure.h"

namespace configctl {
namespace {

// For a process that ends on the spot. The name is empty while there is no connection.
char responseQueue[32];
mqd_t requestQueue = -1;
XCONFIGMGR_CONNECTION_REQUEST_T leave = {};

void Forget() { std::memset(responseQueue, 0, sizeof responseQueue); }

// One for the process, as it leaves the daemon's queue open. It numbers its connections from 0 on.
std::unique_ptr<PosixMQFactory> factory;
unsigned connections = 0;

// The daemon's queue, closed again unless it is taken over.
class Descriptor {
 public:
  explicit Descriptor(mqd_t queue) : _queue(queue) {}
  ~Descriptor() {
    if (_queue != -1) ::mq_close(_queue);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  mqd_t Get() const { return _queue; }
  mqd_t Release() { return std::exchange(_queue, -1); }

 private:
  mqd_t _queue;
};

// A daemon holds a lock on its queue as long as it lives, and removes it when it ends in order.
bool IsServed(mqd_t queue) {
  struct stat status;
  if (::fstat(queue, &status) != 0 || status.st_nlink == 0) return false;
  if (::flock(queue, LOCK_SH | LOCK_NB) != 0) return true;
  ::flock(queue, LOCK_UN);
  return false;
}

std::string UserName(uid_t user) {
  const passwd* const entry = ::getpwuid(user);
  return entry == nullptr ? std::to_string(user) : entry->pw_name;
}

[[noreturn]] void ThrowUnreachable(const std::string& message) {
  throw Failure(Status::kNoConnection, message);
}

[[noreturn]] void ThrowNotOpened(const std::string& uri, int error) {
  switch (error) {
    case ENOENT:
      ThrowUnreachable("nobody serves " + uri +
                       "; start configd on this machine and see that it says so, or name another "
                       "place with --uri");
    case EACCES:
      ThrowUnreachable(uri +
                       " belongs to another user; run configctl as the user that configd runs as, "
                       "or name its tcp:// URI");
    default:
      ThrowUnreachable(uri + " cannot be opened (" + std::strerror(error) +
                       "); name the daemon's tcp:// URI instead");
  }
}

[[noreturn]] void ThrowNotConnected(const std::string& uri, int error,
                                    std::chrono::milliseconds patience) {
  const QueueLimits limits = QueueLimits::Read();
  switch (error) {
    case EMFILE:
    case ENOMEM:
      ThrowUnreachable("there is no room for the queue that answers come on: " + limits.ToText() +
                       "; end another client, or raise the limit with ulimit -q or LimitMSGQUEUE= "
                       "of a service");
    case EINVAL:
      ThrowUnreachable("the queue that answers come on cannot be made: " + limits.MessagesText() +
                       "; set it to 128 or more with sysctl -w fs.mqueue.msg_max=128");
    case ENOSPC:
      ThrowUnreachable(
          "there are as many message queues as the system allows; end another client, or set "
          "fs.mqueue.queues_max higher");
    case ETIMEDOUT:
      throw Failure(Status::kTimeout, uri + " gave no answer within " +
                                          std::to_string(patience.count()) +
                                          " ms while connecting; see whether configd is well, or "
                                          "wait longer with --timeout");
    case ECONNREFUSED:
      ThrowUnreachable(uri +
                       " takes no more connections; end another client, or name its tcp:// URI");
    default:
      ThrowUnreachable("what serves " + uri +
                       " does not answer like configd; look closer with --verbose");
  }
}

}  // namespace

std::unique_ptr<QueueLink> QueueLink::Connect(const std::string& queue,
                                              std::chrono::milliseconds patience) {
  const std::string uri = "mq:" + queue;
  Descriptor requests(::mq_open(queue.c_str(), O_RDWR));
  if (requests.Get() == -1) ThrowNotOpened(uri, errno);
  struct stat status = {};
  ::fstat(requests.Get(), &status);
  if (status.st_uid != ::geteuid()) {
    ThrowUnreachable(uri + " belongs to user " + UserName(status.st_uid) +
                     ", and queues are for processes of one user; run configctl as that one, or "
                     "name the daemon's tcp:// URI");
  }
  if (!configctl::IsServed(requests.Get())) {
    ThrowUnreachable("nobody serves " + uri +
                     " any more, as its daemon died; start configd again, or name another place "
                     "with --uri");
  }
  if (factory == nullptr) factory = PosixMQFactory::Open(queue);
  if (factory == nullptr) ThrowNotOpened(uri, errno);
  factory->SetPatience(patience);
  const uint32_t id = (static_cast<uint32_t>(::getpid()) << 16) + (connections++ & 0xFFFF);
  leave = {XCFG_DISCONNECT_REQUEST, id, 0, 0, 0};
  requestQueue = requests.Get();
  ConnectionUtilities::GetQueueName(id).copy(responseQueue, sizeof responseQueue - 1);
  PosixMQClient* const client = factory->Connect("");
  if (client == nullptr) {
    const int error = errno;
    Forget();
    ThrowNotConnected(uri, error, patience);
  }
  return std::unique_ptr<QueueLink>(new QueueLink(requests.Release(), *factory, client));
}

QueueLink::QueueLink(int requests, PosixMQFactory& queues, PosixMQClient* client)
    : _requests(requests), _factory(queues), _client(client) {}

QueueLink::~QueueLink() {
  // Nobody would answer the Disconnect.
  if (!IsServed()) _factory.SetPatience({});
  _factory.Disconnect(_client);
  Forget();
  ::mq_close(_requests);
}

// As long as the daemon has the queue open, it counts among those of the user.
void QueueLink::LeaveInPassing() {
  if (responseQueue[0] == '\0') return;
  constexpr timespec kNoTime = {};
  ::mq_timedsend(requestQueue, reinterpret_cast<const char*>(&leave), sizeof leave, 0, &kNoTime);
  ::mq_unlink(responseQueue);
}

bool QueueLink::IsServed() const { return configctl::IsServed(_requests); }

QueueLimits QueueLimits::Read() {
  QueueLimits limits;
  rlimit limit;
  limits.bytes = ::getrlimit(RLIMIT_MSGQUEUE, &limit) == 0 ? limit.rlim_cur : RLIM_INFINITY;
  std::ifstream("/proc/sys/fs/mqueue/msg_max") >> limits.messages;
  return limits;
}

std::string QueueLimits::ToText() const {
  const std::string room =
      IsUnlimited()
          ? "RLIMIT_MSGQUEUE is unlimited"
          : "RLIMIT_MSGQUEUE is " + std::to_string(bytes) + " bytes, which is " +
                std::to_string(bytes / kConnectionBytes) + " queues of one user in all processes";
  return room + ", and " + MessagesText();
}

std::string QueueLimits::MessagesText() const {
  return "fs.mqueue.msg_max is " + std::to_string(messages);
}

}  // namespace configctl
