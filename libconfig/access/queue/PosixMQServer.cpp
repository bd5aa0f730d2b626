#include "libconfig/access/queue/PosixMQServer.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <exception>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "libconfig/access/queue/QueueIO.h"
#include "libconfig/access/queue/QueueRequests.h"
#include "libconfig/base/BusyClock.h"
#include "libconfig/base/Worker.h"

using namespace qel::config;

namespace {

using std::chrono::milliseconds;

constexpr unsigned kWakePriority = 31;
// Somebody who removes the queue at the same moment, or only looks whether it is locked, is no
// reason to give up.
constexpr int kAttempts = 100;
constexpr milliseconds kAttemptPause{2};

constexpr std::chrono::seconds kSweepPause{10};
// How long a client with a full queue is given until it is looked at again.
constexpr int kFirstPauseMs = 5;
constexpr int kLongestPauseMs = 500;
constexpr milliseconds kWakePause{2};

// All that the user may have is for queues.
void RaiseQueueLimit() {
  rlimit limit;
  if (::getrlimit(RLIMIT_MSGQUEUE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_MSGQUEUE, &limit);
}

// -1 as OpenLockedQueue has it. A queue of other sizes is removed, and can be tried again.
mqd_t OpenRequestQueue(const std::string& name) {
  const mqd_t queue = OpenLockedQueue(name);
  if (queue == -1) return -1;
  mq_attr actual;
  if (::mq_getattr(queue, &actual) == 0 && actual.mq_maxmsg == PosixMQFactory::kMessages &&
      actual.mq_msgsize == PosixMQFactory::kMessageSize) {
    ::fchmod(queue, PosixMQFactory::kMode);
    return queue;
  }
  ::mq_unlink(name.c_str());
  ::mq_close(queue);
  errno = ESTALE;
  return -1;
}

}  // namespace

class PosixMQServer::Service {
 public:
  Service(std::string name, OnSlowClient onSlowClient)
      : _name(std::move(name)),
        _onSlowClient(std::move(onSlowClient)),
        _requests([this] { _helper->WakeAt(After(milliseconds(_pauseMs))); }) {}
  ~Service();

  Opened Open();
  bool Start();
  std::chrono::milliseconds GetBusyTime() const { return _busy.Get(); }

 private:
  void Receive();
  void LookAfterClients();

  const std::string _name;
  const OnSlowClient _onSlowClient;
  mqd_t _queue = -1;

  std::atomic<bool> _stop{false};
  std::atomic<bool> _isReceiving{false};
  qel::config::BusyClock _busy;

  // Until a client with a full queue is looked at again. The helper alone changes it.
  std::atomic<int> _pauseMs{kFirstPauseMs};
  Deadline _nextSweep;  // of the helper, once that runs

  std::optional<Worker> _helper;  // ahead of the stores, which announce changes until they end
  QueueRequests _requests;
  std::optional<Worker> _receiver;
};

PosixMQServer::Service::~Service() {
  _stop = true;
  // Again and again, as another process may take what is meant to wake the receiver. Where an empty
  // message finds no room, the receiver is awake.
  while (_isReceiving) {
    constexpr timespec kNoTime = {};
    ::mq_timedsend(_queue, "", 0, kWakePriority, &kNoTime);
    std::this_thread::sleep_for(kWakePause);
  }
  if (_helper) _helper->Stop();
  // Nobody would remove the queues of clients that have died already.
  _requests.GetPeers().Sweep();
  if (_queue == -1) return;
  ::mq_unlink(_name.c_str());
  ::mq_close(_queue);
}

PosixMQServer::Opened PosixMQServer::Service::Open() {
  if (_queue != -1) return Opened::kYes;
  RaiseQueueLimit();
  errno = ESTALE;
  for (int i = 0; i < kAttempts && (errno == ESTALE || errno == EWOULDBLOCK); ++i) {
    if (errno == EWOULDBLOCK) std::this_thread::sleep_for(kAttemptPause);
    _queue = OpenRequestQueue(_name);
    if (_queue != -1) return Opened::kYes;
  }
  return errno == EWOULDBLOCK ? Opened::kTaken : Opened::kUnavailable;
}

bool PosixMQServer::Service::Start() {
  if (_queue == -1) {
    errno = EBADF;
    return false;
  }
  try {
    if (!_helper) {
      _nextSweep = After(kSweepPause);
      _helper.emplace([this] { LookAfterClients(); });
      _helper->WakeAt(_nextSweep);
    }
    _requests.Start();
    if (!_receiver) {
      _receiver.emplace([this] { Receive(); });
      _isReceiving = true;
      _receiver->Wake();
    }
    return true;
  } catch (const std::system_error& error) {
    errno = error.code().value();
    return false;
  }
}

// One round is all there is.
void PosixMQServer::Service::Receive() {
  char message[PosixMQFactory::kMessageSize];
  while (!_stop) {
    const ssize_t length = ::mq_receive(_queue, message, sizeof message, nullptr);
    if (length <= 0) continue;
    const qel::config::BusyClock::Work work(_busy);
    try {
      _requests.Process(message, static_cast<std::size_t>(length));
    } catch (const std::exception&) {
      // No memory: this request is not answered; its client's wait has an end.
    }
  }
  _isReceiving = false;
}

// Removes the queues of clients that died every now and then, and gives the slow ones, as soon as
// they have room, what was kept for them.
void PosixMQServer::Service::LookAfterClients() {
  if (_stop) return;
  QueuePeers& peers = _requests.GetPeers();
  const QueuePeers::Kept kept = peers.Flush(_onSlowClient);
  _pauseMs =
      kept == QueuePeers::Kept::kAsMuch ? std::min(2 * _pauseMs, kLongestPauseMs) : kFirstPauseMs;
  if (kept != QueuePeers::Kept::kNothing) _helper->WakeAt(After(milliseconds(_pauseMs)));
  if (Worker::Clock::now() >= _nextSweep) {
    peers.Sweep();
    _nextSweep = After(kSweepPause);
  }
  _helper->WakeAt(_nextSweep);
}

PosixMQServer::PosixMQServer(std::string name, OnSlowClient onSlowClient)
    : _service(std::make_unique<Service>(std::move(name), std::move(onSlowClient))) {}

PosixMQServer::~PosixMQServer() = default;

PosixMQServer::Opened PosixMQServer::Open() { return _service->Open(); }

bool PosixMQServer::Start() { return _service->Start(); }

std::chrono::milliseconds PosixMQServer::GetBusyTime() const { return _service->GetBusyTime(); }
