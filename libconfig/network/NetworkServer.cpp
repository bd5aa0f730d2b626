#include "libconfig/network/NetworkServer.h"

#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <new>
#include <thread>

#include "libconfig/base/BusyClock.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/base/Thread.h"
#include "libconfig/network/NetworkTCPConnection.h"
#include "libconfig/network/NetworkUDPConnection.h"
#include "libconfig/network/Places.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using namespace qel::config;

namespace {

// While accepting or receiving fails, for want of descriptors say, there is no hurry to retry.
constexpr std::chrono::milliseconds kPauseAfterFailure(50);

constexpr int kDatagramBuffer = 786432;

// What fails for want of memory costs the peer that asked for it; the server goes on.
template <typename Round>
void GoOn(Round round) {
  try {
    round();
  } catch (const std::bad_alloc&) {
    Report("NetworkServer::Run - no memory\n");
    std::this_thread::sleep_for(kPauseAfterFailure);
  }
}

}  // namespace

// Lets the thread delete the server no sooner than Stop is through with it, however Run ended.
struct NetworkServer::Ending {
  void Reach() {
    MutexLock lock(mutex);
    reached = true;
    condition.Broadcast();
  }

  void Await() {
    MutexLock lock(mutex);
    while (!reached) condition.Wait(mutex);
  }

  // The thread serves no more.
  void NoteServed() {
    MutexLock lock(mutex);
    served = true;
    condition.Broadcast();
  }

  bool AwaitServed(std::chrono::steady_clock::time_point deadline) {
    MutexLock lock(mutex);
    while (!served && condition.WaitUntil(mutex, deadline)) {
    }
    return served;
  }

  Mutex mutex;
  Condition condition;
  bool reached LIBCONFIG_GUARDED_BY(mutex) = false;
  bool served LIBCONFIG_GUARDED_BY(mutex) = false;

  qel::config::BusyClock busy;
};

NetworkServer::NetworkServer(int family, int type, int port, std::string address)
    : _socket(std::make_unique<Socket>(family, type)),
      _family(family),
      _type(type),
      _port(port),
      _address(std::move(address)),
      _places(std::make_shared<Places>()),
      _ending(std::make_shared<Ending>()) {}

NetworkServer::~NetworkServer() = default;

bool NetworkServer::Init() {
  _isReady = false;
  _udpConnection.reset();
  _socket = std::make_unique<Socket>(_family, _type);
  if (!_socket->create() || !_socket->set_exclusive()) {
    Report("NetworkServer::Init - failed to create Socket\n");
    return false;
  }
  if (!(_family == AF_INET ? _socket->bind(_address, _port) : _socket->bind(_port))) {
    Report("NetworkServer::Init - failed to bind Socket\n");
    return false;
  }
  if (_type == SOCK_STREAM && !_socket->listen()) {
    Report("NetworkServer::Init - listen failed\n");
    return false;
  }
  _isReady = true;
  return true;
}

std::chrono::milliseconds NetworkServer::GetBusyTime() const { return _ending->busy.Get(); }

int NetworkServer::GetPort() { return _socket->get_bound_port(); }

// The thread ends by itself: detach it.
bool NetworkServer::Start() {
  if (qel::config::StartThread(nullptr, ThreadKind::kDetached, 0, pthread_start, this) == 0) {
    return true;
  }
  ReportErrno("configd::main");
  Report("NetworkServer::Start - pthread_create failed\n");
  return false;
}

void NetworkServer::Stop() {
  const std::shared_ptr<Ending> ending = _ending;
  _stop = true;
  _socket->close();
  ending->Reach();
}

bool NetworkServer::StopAll(std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  const std::shared_ptr<Ending> ending = _ending;
  _stop = true;
  _socket->close();
  const bool gone = _places->End(deadline);
  const bool served = ending->AwaitServed(deadline);
  ending->Reach();
  return gone && served;
}

void* NetworkServer::pthread_start(void* object) {
  auto* const server = static_cast<NetworkServer*>(object);
  // Without memory the server ends, and its connections go on.
  RunGuarded([server] { server->Run(); });
  server->_ending->NoteServed();
  server->_ending->Await();
  delete server;
  return nullptr;
}

void NetworkServer::Run() {
  if (!_isReady) {
    Report("NetworkServer::Run - no socket to serve: Init failed or was not called\n");
    _ending->Await();
  } else if (_type == SOCK_STREAM) {
    ServeConnections();
  } else {
    ServeDatagrams();
  }
}

void NetworkServer::ServeDatagrams() {
  if (!_socket->set_buffer_size(SO_SNDBUF, kDatagramBuffer) ||
      !_socket->set_buffer_size(SO_RCVBUF, kDatagramBuffer)) {
    return;
  }
  GoOn([this] { Datagrams(); });
  while (!_stop) {
    GoOn([this] { WaitForDatagram(); });
  }
  _udpConnection.reset();
  Report("NetworkServer::Run - exiting\n");
}

NetworkUDPConnection& NetworkServer::Datagrams() {
  if (_udpConnection == nullptr) {
    _udpConnection = std::make_unique<NetworkUDPConnection>(_socket.get());
  }
  return *_udpConnection;
}

bool NetworkServer::WaitForDatagram() {
  char datagram[limits::kDatagram];
  sockaddr_in from = {};
  const ssize_t length = _socket->recvfrom_some(datagram, sizeof datagram, from);
  if (length == 0) {
    Report("NetworkServer::WaitForDatagram - recvfrom shutting down normally\n");
    return false;
  }
  if (length < 0) {
    if (_stop) return false;
    ReportErrno("NetworkServer::WaitForDatagram");
    Report("NetworkServer::WaitForDatagram - recvfrom error condition\n");
    std::this_thread::sleep_for(kPauseAfterFailure);
    return false;
  }
  const qel::config::BusyClock::Work work(_ending->busy);
  Datagrams().ProcessMessages(datagram, static_cast<int>(length), from);
  return true;
}

void NetworkServer::ServeConnections() {
  while (!_stop) {
    GoOn([this] { ServeConnection(); });
  }
  Report("NetworkServer::Run - exiting\n");
}

void NetworkServer::ServeConnection() {
  std::unique_ptr<NetworkTCPConnection> connection(WaitForConnection());
  if (connection == nullptr) {
    if (!_stop) std::this_thread::sleep_for(kPauseAfterFailure);
    return;
  }
  const qel::config::BusyClock::Work work(_ending->busy);
  std::shared_ptr<void> slot = _places->Take(*connection, _socket->get_bound_port());
  if (slot != nullptr && connection->Start(std::move(slot))) {
    static_cast<void>(connection.release());  // its thread deletes it
  } else {
    Report("NetworkServer::Run - unable to start connection\n");
  }
}

NetworkTCPConnection* NetworkServer::WaitForConnection() {
  auto peer = std::make_unique<Socket>(_family, _type);
  if (!_socket->accept(peer.get())) {
    ReportErrno("NetworkServer::WaitForConnection");
    Report("NetworkServer::WaitForConnection - accept failed\n");
    // With too few descriptors some peer makes room for whoever waits.
    if (errno == EMFILE || errno == ENFILE) _places->FreeOne();
    return nullptr;
  }
  peer->set_keepalive();
  return new NetworkTCPConnection(peer.release());
}

}  // namespace qel::vorlane::config::access
