// A read over the message queues of this machine, from the caller through the library's server and
// back, against the two messages alone, and against the same read over TCP.
#include <fcntl.h>
#include <mqueue.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/Machine.h"
#include "bench/NetworkGet.h"
#include "bench/Rounds.h"
#include "libconfig/libconfig.h"

namespace bench {
namespace {

constexpr int kRounds = 100;

std::string QueueName(const char* what) {
  return "/bench_" + std::string(what) + "_" + std::to_string(::getpid());
}

// Queues of this thread, and of those that it starts, alone, where the machine lets it have them:
// then the system's limits can be set for them.
void EnterOwnNamespace() {
  if (::unshare(CLONE_NEWIPC) != 0) return;
  std::ofstream("/proc/sys/fs/mqueue/msg_max") << PosixMQFactory::kMessages << std::flush;
}

class Queue {
 public:
  explicit Queue(const std::string& name) : _name(name) {
    mq_attr attributes = {};
    attributes.mq_maxmsg = PosixMQFactory::kMessages;
    attributes.mq_msgsize = PosixMQFactory::kMessageSize;
    _queue = ::mq_open(name.c_str(), O_RDWR | O_CREAT, 0600, &attributes);
    if (_queue != -1) return;
    const std::string reason = std::strerror(errno);
    throw Skipped("no message queue can be had (" + reason +
                  "); set fs.mqueue.msg_max to 128 or more, and see ulimit -q");
  }
  ~Queue() {
    ::mq_close(_queue);
    ::mq_unlink(_name.c_str());
  }
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;

  void Send(const char* message, std::size_t length) { ::mq_send(_queue, message, length, 0); }
  // An empty message is the end.
  bool Receive() {
    char buffer[PosixMQFactory::kMessageSize];
    return ::mq_receive(_queue, buffer, sizeof buffer, nullptr) > 0;
  }

 private:
  const std::string _name;
  mqd_t _queue = -1;
};

// The two messages of an exchange, between two threads.
class QueuePingPong {
 public:
  explicit QueuePingPong(int serverCore) {
    const Pinned pinned(serverCore);
    _thread = std::thread([this] {
      const char answer[sizeof(XCONFIGMGR_RESPONSE_T)] = {};
      while (_requests.Receive()) _answers.Send(answer, sizeof answer);
    });
  }
  ~QueuePingPong() {
    _requests.Send("", 0);
    _thread.join();
  }
  QueuePingPong(const QueuePingPong&) = delete;
  QueuePingPong& operator=(const QueuePingPong&) = delete;

  void operator()() {
    const char request[sizeof(XCONFIGMGR_REQUEST_T)] = {};
    _requests.Send(request, sizeof request);
    _answers.Receive();
  }

 private:
  Queue _requests{QueueName("requests")};
  Queue _answers{QueueName("answers")};
  std::thread _thread;
};

// The library's client and server, with the server's threads on `serverCore`.
class QueueGet {
 public:
  explicit QueueGet(int serverCore, const char* name = "service")
      : _name(QueueName(name)), _server(_name) {
    if (_server.Open() != PosixMQServer::Opened::kYes) throw Skipped("the server gets no queue");
    {
      const Pinned pinned(serverCore);
      if (!_server.Start()) throw std::runtime_error("the server has no threads");
    }
    _factory = PosixMQFactory::Open(_name);
    if (_factory != nullptr) _client = _factory->Connect("");
    if (_client == nullptr) throw std::runtime_error("no connection to the server");
  }
  ~QueueGet() {
    if (_client != nullptr) _factory->Disconnect(_client);
  }
  QueueGet(const QueueGet&) = delete;
  QueueGet& operator=(const QueueGet&) = delete;

  QueueGet& Listen() {
    if (_client->AddConfigEventListener(&_listener) == 0) throw std::runtime_error("no listening");
    return *this;
  }

  void operator()() {
    unsigned int value;
    if (!_client->TryGet(eParamID_IPConfig, value)) throw std::runtime_error("a Get failed");
  }

 private:
  const std::string _name;
  IdleListener _listener;
  PosixMQServer _server;
  std::unique_ptr<PosixMQFactory> _factory;
  PosixMQClient* _client = nullptr;
};

struct TcpGet : NetworkGet {
  explicit TcpGet(int serverCore) : NetworkGet(SOCK_STREAM, serverCore) {}
};

// The same with a listener on its client.
struct ListeningQueueGet : QueueGet {
  explicit ListeningQueueGet(int serverCore) : QueueGet(serverCore, "listening") { Listen(); }
};

template <typename Subject, typename Reference>
Measurement MeasureHere(std::size_t coresWanted) {
  const std::vector<int> cores = Cores();
  if (cores.size() < coresWanted) throw std::runtime_error("there is one processor only");
  const int serverCore = cores[coresWanted - 1];
  EnterOwnNamespace();
  const Pinned client(cores[0]);
  Reference reference(serverCore);
  Subject subject(serverCore);
  return TakeTurns(
      kRounds, [&] { return MedianRoundTrip(subject); },
      [&] { return MedianRoundTrip(reference); });
}

// On a thread of its own, which takes its namespace with it.
template <typename Subject, typename Reference>
Measurement Measure(std::size_t coresWanted) {
  Measurement measurement;
  std::exception_ptr failure;
  std::thread([&] {
    try {
      measurement = MeasureHere<Subject, Reference>(coresWanted);
    } catch (...) {
      failure = std::current_exception();
    }
  }).join();
  if (failure != nullptr) std::rethrow_exception(failure);
  return measurement;
}

}  // namespace

Measurement MeasureQueueGetOnTwoCores() { return Measure<QueueGet, QueuePingPong>(2); }

Measurement MeasureQueueGetOnOneCore() { return Measure<QueueGet, QueuePingPong>(1); }

Measurement MeasureQueueGetAgainstTcp() { return Measure<QueueGet, TcpGet>(2); }

Measurement MeasureQueueGetWithListener() { return Measure<ListeningQueueGet, QueueGet>(2); }

}  // namespace bench
