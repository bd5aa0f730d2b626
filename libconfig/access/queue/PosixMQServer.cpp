#include "libconfig/access/queue/PosixMQServer.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <new>
#include <thread>
#include <utility>

#include "libconfig/access/queue/QueueRequests.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/base/Thread.h"

using qel::config::MutexLock;
using qel::config::QueuePeers;
using qel::config::QueueRequests;

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kWakePriority = 31;
// Somebody who removes the queue at the same moment, or only looks whether it is locked, is no
// reason to give up.
constexpr int kAttempts = 100;
constexpr std::chrono::milliseconds kAttemptPause{2};

constexpr std::chrono::seconds kSweepPause{10};
// How long a client with a full queue is given until it is looked at again.
constexpr std::chrono::milliseconds kFirstPause{5};
constexpr std::chrono::milliseconds kLongestPause{500};
constexpr std::chrono::milliseconds kWakePause{50};

// All that the user may have is for queues.
void RaiseQueueLimit() {
  rlimit limit;
  if (::getrlimit(RLIMIT_MSGQUEUE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_MSGQUEUE, &limit);
}

}  // namespace

class PosixMQServer::Service {
 public:
  Service(std::string name, OnSlowClient onSlowClient)
      : _name(std::move(name)), _onSlowClient(std::move(onSlowClient)), _requests([this] {
          MutexLock lock(_mutex);
          _isKept = true;
          _changed.Broadcast();
        }) {}
  ~Service();

  Opened Open();
  bool Start();

 private:
  int OpenOnce();
  bool StartThread(pthread_t& thread, bool& isRunning, void* (*entry)(void*));
  void Receive();
  void LookAfterClients();

  const std::string _name;
  const OnSlowClient _onSlowClient;
  mqd_t _queue = -1;

  // Of whoever starts and ends the threads.
  pthread_t _receiver = {};
  pthread_t _helper = {};
  bool _isReceiving = false;
  bool _isHelping = false;

  std::atomic<bool> _stop{false};
  qel::config::Mutex _mutex;
  qel::config::Condition _changed;                      // _stop, or one of these
  bool _hasEnded LIBCONFIG_GUARDED_BY(_mutex) = false;  // the receiver
  bool _isKept LIBCONFIG_GUARDED_BY(_mutex) = false;    // clients have no room for some changes

  QueueRequests _requests;  // the last, as its stores announce changes until it ends
};

PosixMQServer::Service::~Service() {
  {
    MutexLock lock(_mutex);
    _stop = true;
    _changed.Broadcast();
    // Again and again, as another process may take what is meant to wake the receiver. Where an
    // empty message finds no room, the receiver is awake.
    while (_isReceiving && !_hasEnded) {
      constexpr timespec kNoTime = {};
      ::mq_timedsend(_queue, "", 0, kWakePriority, &kNoTime);
      _changed.WaitUntil(_mutex, Clock::now() + kWakePause);
    }
  }
  if (_isReceiving) ::pthread_join(_receiver, nullptr);
  if (_isHelping) ::pthread_join(_helper, nullptr);
  // Nobody would remove the queues of clients that have died already.
  _requests.GetPeers().Sweep();
  if (_queue == -1) return;
  ::mq_unlink(_name.c_str());
  ::mq_close(_queue);
}

// 0, EBUSY when another server has the queue, EAGAIN to try once more, or what is wrong.
int PosixMQServer::Service::OpenOnce() {
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
  // Its server ended between the two calls.
  if (status.st_nlink == 0) return give_up(EAGAIN);
  if (actual.mq_maxmsg != attributes.mq_maxmsg || actual.mq_msgsize != attributes.mq_msgsize) {
    ::mq_unlink(_name.c_str());
    return give_up(EAGAIN);
  }
  ::fchmod(queue, PosixMQFactory::kMode);
  _queue = queue;
  return 0;
}

PosixMQServer::Opened PosixMQServer::Service::Open() {
  if (_queue != -1) return Opened::kYes;
  RaiseQueueLimit();
  int error = EAGAIN;
  for (int i = 0; i < kAttempts && (error == EAGAIN || error == EBUSY); ++i) {
    if (error == EBUSY) std::this_thread::sleep_for(kAttemptPause);
    error = OpenOnce();
  }
  errno = error;
  if (error == 0) return Opened::kYes;
  return error == EBUSY ? Opened::kTaken : Opened::kUnavailable;
}

bool PosixMQServer::Service::StartThread(pthread_t& thread, bool& isRunning,
                                         void* (*entry)(void*)) {
  isRunning = isRunning || qel::config::StartThread(&thread, qel::config::ThreadKind::kJoinable, 0,
                                                    entry, this) == 0;
  return isRunning;
}

bool PosixMQServer::Service::Start() {
  if (_queue == -1) {
    errno = EBADF;
    return false;
  }
  _requests.Start();
  const auto help = [](void* service) -> void* {
    static_cast<Service*>(service)->LookAfterClients();
    return nullptr;
  };
  const auto receive = [](void* service) -> void* {
    static_cast<Service*>(service)->Receive();
    return nullptr;
  };
  return StartThread(_helper, _isHelping, help) && StartThread(_receiver, _isReceiving, receive);
}

void PosixMQServer::Service::Receive() {
  char message[PosixMQFactory::kMessageSize];
  while (!_stop) {
    const ssize_t length = ::mq_receive(_queue, message, sizeof message, nullptr);
    if (length <= 0) continue;
    try {
      _requests.Process(message, static_cast<std::size_t>(length));
    } catch (const std::bad_alloc&) {
      // This request is not answered; its client's wait has an end.
    }
  }
  MutexLock lock(_mutex);
  _hasEnded = true;
  _changed.Broadcast();
}

// Removes the queues of clients that died every now and then, and gives the slow ones, as soon as
// they have room, what was kept for them.
void PosixMQServer::Service::LookAfterClients() {
  QueuePeers& peers = _requests.GetPeers();
  auto sweep = Clock::now() + kSweepPause;
  auto pause = kFirstPause;
  while (!_stop) {
    {
      MutexLock lock(_mutex);
      while (!_stop && !_isKept && Clock::now() < sweep) _changed.WaitUntil(_mutex, sweep);
      const auto end = Clock::now() + pause;
      while (!_stop && _isKept && Clock::now() < end) _changed.WaitUntil(_mutex, end);
      _isKept = false;
    }
    auto kept = QueuePeers::Kept::kAsMuch;
    try {
      kept = peers.Flush(_onSlowClient);
      if (Clock::now() >= sweep) {
        peers.Sweep();
        sweep = Clock::now() + kSweepPause;
      }
    } catch (const std::bad_alloc&) {
      // Once more after the pause.
    }
    pause = kept == QueuePeers::Kept::kAsMuch ? std::min(2 * pause, kLongestPause) : kFirstPause;
    if (kept == QueuePeers::Kept::kNothing) continue;
    MutexLock lock(_mutex);
    _isKept = true;
  }
}

PosixMQServer::PosixMQServer(std::string name, OnSlowClient onSlowClient)
    : _service(std::make_unique<Service>(std::move(name), std::move(onSlowClient))) {}

PosixMQServer::~PosixMQServer() = default;

PosixMQServer::Opened PosixMQServer::Open() { return _service->Open(); }

bool PosixMQServer::Start() { return _service->Start(); }
