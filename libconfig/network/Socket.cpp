#include "libconfig/network/Socket.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/network/DumpContext.h"

using qel::config::Report;
using qel::config::ReportErrno;

namespace {

template <typename Call>
auto Retry(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

template <typename T>
auto AsAddress(T& address) {
  using Address = std::conditional_t<std::is_const_v<T>, const sockaddr, sockaddr>;
  return reinterpret_cast<Address*>(&address);
}

// 1, or 0 with the reason on standard error when the system's call returned -1.
int Succeeded(ssize_t result, const char* what) {
  if (result != -1) return 1;
  ReportErrno(what);
  return 0;
}

template <typename T>
int SetOption(int fd, int level, int option, const T& value) {
  return ::setsockopt(fd, level, option, &value, sizeof value);
}

// `call` is getsockname or getpeername. False where there is no Internet address.
template <typename Call>
bool GetAddress(Call call, int fd, sockaddr_in& address) {
  socklen_t length = sizeof address;
  return call(fd, AsAddress(address), &length) == 0 && address.sin_family == AF_INET;
}

void RemoveStaleSocket(const char* path) {
  struct stat status;
  if (::lstat(path, &status) == 0 && S_ISSOCK(status.st_mode)) ::unlink(path);
}

// Port 0 lets the system choose one, where that is allowed. Sets errno on failure.
bool IsPort(int port, int lowest) {
  errno = EADDRNOTAVAIL;
  return port >= lowest && port <= 65535;
}

timeval ToTimeval(unsigned milliseconds) {
  timeval time;
  time.tv_sec = milliseconds / 1000;
  time.tv_usec = static_cast<suseconds_t>(milliseconds % 1000) * 1000;
  return time;
}

using Clock = std::chrono::steady_clock;

// Milliseconds until `deadline`, at least 0.
int LeftUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return static_cast<int>(std::max<std::chrono::milliseconds::rep>(0, left.count()));
}

// The result of an Internet connect that goes on in the background; errno tells why not.
bool AwaitConnected(int fd, Clock::time_point deadline) {
  pollfd writable = {fd, POLLOUT, 0};
  const int ready = Retry([&] { return ::poll(&writable, 1, LeftUntil(deadline)); });
  if (ready == 0) errno = ETIMEDOUT;
  if (ready <= 0) return false;
  int error = 0;
  socklen_t size = sizeof error;
  if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == -1) return false;
  errno = error;
  return error == 0;
}

// Like any answer, a place in the listener's backlog comes in time or not at all. A socket that is
// non-blocking already waits for nothing. The send time-out is what limits connect, and the only
// thing that does on a local socket.
bool ConnectTo(int fd, const sockaddr* address, socklen_t length) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(qel::config::limits::kAnswerMs);
  timeval before = {};
  socklen_t size = sizeof before;
  ::getsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &before, &size);
  bool connected = false;
  do {
    const auto left = static_cast<unsigned>(std::max(1, LeftUntil(deadline)));
    SetOption(fd, SOL_SOCKET, SO_SNDTIMEO, ToTimeval(left));
    connected = ::connect(fd, address, length) == 0;
  } while (!connected && errno == EINTR && address->sa_family == AF_UNIX);
  if (!connected && errno == EINTR) connected = AwaitConnected(fd, deadline);
  const bool isLate = (errno == EINPROGRESS || errno == EAGAIN) && LeftUntil(deadline) == 0;
  const int error = isLate ? ETIMEDOUT : errno;
  SetOption(fd, SOL_SOCKET, SO_SNDTIMEO, before);
  errno = error;
  return connected;
}

// The system may choose the destination port as the source port when nobody listens there.
bool IsConnectedToItself(int fd) {
  sockaddr_in own = {};
  sockaddr_in peer = {};
  return GetAddress(::getsockname, fd, own) && GetAddress(::getpeername, fd, peer) &&
         own.sin_port == peer.sin_port && own.sin_addr.s_addr == peer.sin_addr.s_addr;
}

bool IsBufferSize(int option, const char* caller) {
  if (option == SO_SNDBUF || option == SO_RCVBUF) return true;
  Report("Socket::%s: The option must be one of SO_RCVBUF or SO_SNDBUF\n", caller);
  return false;
}

int ChangeMembership(int fd, int option, const std::string& group, const std::string& interface) {
  if (fd == -1 || group.empty() || interface.empty()) return 0;
  ip_mreq request;
  request.imr_multiaddr.s_addr = ::inet_addr(group.c_str());
  request.imr_interface.s_addr = ::inet_addr(interface.c_str());
  return SetOption(fd, IPPROTO_IP, option, request) != -1;
}

}  // namespace

// Keeps the descriptor open while a call uses it.
class Socket::Use {
 public:
  explicit Use(Socket& socket) : _socket(socket) {
    const uint32_t before = _socket._state.fetch_add(kUser, std::memory_order_acquire);
    if ((before & kClosed) != 0) {
      errno = EBADF;
    } else {
      fd = _socket._fd.load(std::memory_order_relaxed);
    }
  }
  ~Use() {
    const int saved = errno;
    _socket.Leave();
    errno = saved;
  }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

  int fd = -1;  // stays -1, with errno set, when the socket is closed

 private:
  Socket& _socket;
};

Socket::Socket(int family, int type) : _family(family), _type(type) {}

Socket::~Socket() { close(); }

void Socket::Adopt(int fd) {
  _fd.store(fd, std::memory_order_relaxed);
  _state.fetch_and(~kClosed, std::memory_order_release);
}

// The last user of a closed socket closes the descriptor.
int Socket::Leave() {
  if (_state.fetch_sub(kUser, std::memory_order_acq_rel) - kUser != kClosed) return 0;
  const int fd = _fd.exchange(-1, std::memory_order_relaxed);
  return fd == -1 ? 0 : ::close(fd);
}

int Socket::create() {
  const int fd = ::socket(_family, _type | SOCK_CLOEXEC, 0);
  if (!Succeeded(fd, "Socket::create - socket() failed")) return 0;
  close();
  Adopt(fd);
  if (_type == SOCK_STREAM && _family == AF_INET &&
      !Succeeded(SetOption(fd, IPPROTO_TCP, TCP_NODELAY, 1),
                 "Socket::create setsockopt(TCP_NODELAY) failed")) {
    return 0;
  }
  return Succeeded(SetOption(fd, SOL_SOCKET, SO_REUSEADDR, 1),
                   "Socket::create - setsockopt(SO_REUSEADDR) call failed");
}

int Socket::close() {
  // The closer is a user itself, and the last one unless another thread is inside a call.
  const uint32_t before = _state.fetch_add(kUser, std::memory_order_acquire);
  if ((before & kClosed) != 0 ||
      (_state.fetch_or(kClosed, std::memory_order_acq_rel) & kClosed) != 0) {
    Leave();
    return -1;
  }
  ::shutdown(_fd.load(std::memory_order_relaxed), SHUT_RDWR);
  return Leave();
}

int Socket::bind(int port) {
  if (!is_open()) {
    Report("Socket::bind: invalid socketn");
    return 0;
  }
  return _family == AF_UNIX ? bind_local(port) : bind_inet(port);
}

int Socket::bind(const std::string& host, int port) {
  if (host.empty()) {
    _inetAddr.sin_addr.s_addr = INADDR_ANY;
  } else if (::inet_aton(host.c_str(), &_inetAddr.sin_addr) == 0) {
    // inet_addr's "none" would be the broadcast address.
    errno = EINVAL;
    ReportErrno("Socket::bind_inet");
    return 0;
  }
  return bind_inet(port);
}

int Socket::set_exclusive() {
  Use use(*this);
  return _type != SOCK_DGRAM || SetOption(use.fd, SOL_SOCKET, SO_REUSEADDR, 0) == 0;
}

int Socket::bind_inet(int port) {
  Use use(*this);
  // Two datagram sockets that allow sharing may be given the same port.
  if (port == 0) set_exclusive();
  _inetAddr.sin_family = static_cast<sa_family_t>(_family);
  _inetAddr.sin_port = htons(static_cast<uint16_t>(port));
  const bool bound = IsPort(port, 0) && ::bind(use.fd, AsAddress(_inetAddr), sizeof _inetAddr) == 0;
  if (!Succeeded(bound ? 0 : -1, "Socket::bind_inet")) return 0;
  _port = port;
  return 1;
}

void Socket::SetLocalAddress(int family, const std::string& host, int port) {
  _localAddr.sun_family = static_cast<sa_family_t>(family);
  std::strncpy(_localAddr.sun_path, build_local_path(host, port).c_str(),
               sizeof _localAddr.sun_path - 1);
}

int Socket::bind_local(int port) {
  Use use(*this);
  SetLocalAddress(AF_UNIX, _host, port);
  RemoveStaleSocket(_localAddr.sun_path);
  if (::bind(use.fd, AsAddress(_localAddr), sizeof _localAddr) == -1) return 0;
  _port = port;
  return 1;
}

std::string Socket::build_local_path(std::string, int port) {
  std::string path = "/tmp/qel_" + std::to_string(port);
  Report("Local path = %s\n", path.c_str());
  return path;
}

int Socket::listen() {
  Use use(*this);
  if (use.fd == -1) return 0;
  constexpr int kBacklog = 100;
  return Succeeded(::listen(use.fd, kBacklog), "Socket::listen - listen returned -1");
}

int Socket::accept(Socket* peer) {
  Use use(*this);
  sockaddr* const from = _family == AF_UNIX ? nullptr : AsAddress(_inetAddr);
  const int fd = Retry([&] {
    socklen_t length = sizeof _inetAddr;
    return ::accept4(use.fd, from, &length, SOCK_CLOEXEC);
  });
  if (fd <= 0) {
    ReportErrno("Socket::accept - socket <= 0");
    if (fd == 0) ::close(fd);
    return 0;
  }
  peer->Adopt(fd);
  return 1;
}

int Socket::connect(std::string host, int port) {
  if (!is_open()) return 0;
  return _family == AF_UNIX ? connect_local(std::move(host), port)
                            : connect_inet(std::move(host), port);
}

int Socket::connect_inet(std::string host, int port) {
  Use use(*this);
  const bool isBound = _port != 0;
  if (!isBound) set_exclusive();  // as the system chooses a port
  _inetAddr.sin_family = static_cast<sa_family_t>(_family);
  _inetAddr.sin_port = htons(static_cast<uint16_t>(port));
  errno = 0;
  if (::inet_pton(_family, host.c_str(), &_inetAddr.sin_addr) != 1) {
    if (errno == EAFNOSUPPORT) {
      ReportErrno("Socket::connect_inet - inet_pton() failed");
      return 0;
    }
    // Not a dotted address: make connect fail.
    _inetAddr.sin_addr.s_addr = INADDR_NONE;
  }
  bool connected = IsPort(port, 1) && ConnectTo(use.fd, AsAddress(_inetAddr), sizeof _inetAddr);
  if (connected && !isBound && IsConnectedToItself(use.fd)) {
    close();
    errno = ECONNREFUSED;
    connected = false;
  }
  if (!Succeeded(connected ? 0 : -1, "Socket::connect_inet - connect() failed")) return 0;
  _host = std::move(host);
  _port = port;
  return 1;
}

int Socket::connect_local(std::string host, int port) {
  Use use(*this);
  SetLocalAddress(_family, host, port);
  const bool connected = ConnectTo(use.fd, AsAddress(_localAddr), sizeof _localAddr);
  if (!Succeeded(connected ? 0 : -1, "Socket::connect_local")) {
    return 0;
  }
  _host = std::move(host);
  _port = port;
  return 1;
}

ssize_t Socket::recv_some(void* data, std::size_t length) {
  return Retry([&] { return recv_once(data, length, nullptr); });
}

ssize_t Socket::send_some(const void* data, std::size_t length, bool wait) {
  Use use(*this);
  const int flags = wait ? MSG_NOSIGNAL : MSG_NOSIGNAL | MSG_DONTWAIT;
  return Retry([&] { return ::send(use.fd, data, length, flags); });
}

int Socket::send(char* data, unsigned length) {
  return Succeeded(send_some(data, length, true), "Socket::send - failed");
}

int Socket::sendall(char* data, int* length) {
  int sent = 0;
  const int wanted = *length;
  while (sent < wanted) {
    const ssize_t count = send_some(data + sent, static_cast<std::size_t>(wanted - sent), true);
    if (!Succeeded(count, "Socket::sendall - send failed")) break;
    sent += static_cast<int>(count);
  }
  *length = sent;
  return wanted > 0 && sent >= wanted;
}

int Socket::recv(char* data, unsigned length) {
  if (_type == SOCK_DGRAM) {
    const ssize_t count = recv_some(data, length);
    if (Succeeded(count, "Socket::recv - failed")) return static_cast<int>(count);
    Report("Socket::recv - UDP version (this:%p)\n", static_cast<void*>(this));
    return 0;
  }
  if (length == 0) return 0;
  // Each call asks for the whole length, which is more than the caller may have room for.
  const std::unique_ptr<char[]> piece(new char[length]);
  unsigned received = 0;
  while (received < length) {
    const ssize_t count = recv_some(piece.get(), length);
    if (count == 0) break;
    if (!Succeeded(count, "Socket::recv - failed")) {
      Report("Socket::recv - TCP version (this:%p)\n", static_cast<void*>(this));
      return -1;
    }
    std::memcpy(data + received, piece.get(),
                std::min<std::size_t>(static_cast<std::size_t>(count), length - received));
    received += static_cast<unsigned>(count);
  }
  return static_cast<int>(received);
}

int Socket::peek(char* data, unsigned length) {
  Use use(*this);
  const ssize_t count =
      Retry([&] { return ::recv(use.fd, data, length, MSG_PEEK | MSG_WAITALL | MSG_NOSIGNAL); });
  return Succeeded(count, "Socket::recv - failed") ? static_cast<int>(count) : 0;
}

int Socket::sendto(void* data, unsigned length, const sockaddr_in& to) {
  Use use(*this);
  return Succeeded(
      Retry([&] { return ::sendto(use.fd, data, length, 0, AsAddress(to), sizeof to); }),
      "Socket::sendto - failed");
}

ssize_t Socket::recvfrom_some(void* data, std::size_t length, sockaddr_in& from) {
  return Retry([&] { return recv_once(data, length, &from); });
}

ssize_t Socket::recv_once(void* data, std::size_t length, sockaddr_in* from) {
  Use use(*this);
  socklen_t size = sizeof *from;
  return ::recvfrom(use.fd, data, length, MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(from),
                    from == nullptr ? nullptr : &size);
}

int Socket::recvfrom(void* data, unsigned length, sockaddr_in& from) {
  const ssize_t count = recvfrom_some(data, length, from);
  return Succeeded(count, "Socket::recvfrom - failed") ? static_cast<int>(count) : 0;
}

// 1 when one of `events` came, 0 when the time ran out, -1 on an error. What is left of the time
// goes to `left`.
int Socket::Wait(short events, int milliseconds, int* left) {
  Use use(*this);
  if (use.fd == -1) return -1;
  const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  pollfd wanted = {use.fd, events, 0};
  int remaining = milliseconds;
  for (;;) {
    const int ready = ::poll(&wanted, 1, remaining);
    const int error = errno;
    if (milliseconds >= 0) remaining = LeftUntil(deadline);
    if (left != nullptr) *left = remaining;
    errno = error;
    if (ready >= 0 || error != EINTR) return ready > 0 ? 1 : ready;
  }
}

int Socket::wait_readable(int milliseconds) { return Wait(POLLIN, milliseconds, nullptr); }

int Socket::wait_writable(int milliseconds) { return Wait(POLLOUT, milliseconds, nullptr); }

int Socket::read_select(unsigned milliseconds) {
  if (!is_open()) {
    Report("Socket::read_select - invalid socket\n");
    return 0;
  }
  int left = 0;
  const int ready =
      Wait(POLLIN, static_cast<int>(std::min<unsigned>(milliseconds, INT_MAX)), &left);
  if (ready == 1) return 1;
  if (ready == -1) ReportErrno("Socket::read_select");
  ReportNothingToRead(ready == 0 ? 0 : static_cast<unsigned>(left));
  return 0;
}

void Socket::ReportNothingToRead(unsigned msLeft) {
  const timeval rest = ToTimeval(msLeft);
  Report("Socket::read_select - readfds is not set (timeout secs:%ld usecs:%ld)\n",
         static_cast<long>(rest.tv_sec), static_cast<long>(rest.tv_usec));
  dump_context();
}

int Socket::set_non_blocking(bool blocking) {
  Use use(*this);
  const int flags = ::fcntl(use.fd, F_GETFL, 0);
  if (flags < 0) return flags;
  return ::fcntl(use.fd, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK);
}

int Socket::set_buffer_size(int option, int bytes) {
  if (!IsBufferSize(option, "set_buffer_size")) return 0;
  Use use(*this);
  return Succeeded(SetOption(use.fd, SOL_SOCKET, option, bytes),
                   "Socket::set_buffer_size:  Unable to set the buffer size");
}

int Socket::get_buffer_size(int option) {
  if (!IsBufferSize(option, "get_buffer_size")) return 0;
  Use use(*this);
  int bytes = 0;
  socklen_t size = sizeof bytes;
  const int result = ::getsockopt(use.fd, SOL_SOCKET, option, &bytes, &size);
  return Succeeded(result, "Socket::get_buffer_size:  Unable to get the buffer size") ? bytes : 0;
}

int Socket::set_receive_timeout(unsigned milliseconds) {
  Use use(*this);
  return SetOption(use.fd, SOL_SOCKET, SO_RCVTIMEO, ToTimeval(milliseconds)) == 0;
}

int Socket::set_send_timeout(unsigned milliseconds) {
  Use use(*this);
  return SetOption(use.fd, SOL_SOCKET, SO_SNDTIMEO, ToTimeval(milliseconds)) == 0;
}

int Socket::set_keepalive() {
  Use use(*this);
  if (SetOption(use.fd, SOL_SOCKET, SO_KEEPALIVE, 1) != 0) return 0;
  if (_type != SOCK_STREAM || _family != AF_INET) return 1;
  // Probe after a minute of silence, then every 15 seconds: a dead peer is dropped after two
  // minutes.
  return SetOption(use.fd, IPPROTO_TCP, TCP_KEEPIDLE, 60) == 0 &&
         SetOption(use.fd, IPPROTO_TCP, TCP_KEEPINTVL, 15) == 0 &&
         SetOption(use.fd, IPPROTO_TCP, TCP_KEEPCNT, 4) == 0;
}

int Socket::add_membership(const std::string& group, const std::string& interface) {
  Use use(*this);
  return ChangeMembership(use.fd, IP_ADD_MEMBERSHIP, group, interface);
}

int Socket::drop_membership(const std::string& group, const std::string& interface) {
  Use use(*this);
  return ChangeMembership(use.fd, IP_DROP_MEMBERSHIP, group, interface);
}

bool Socket::is_peer_gone() {
  if (_type != SOCK_STREAM) return false;
  Use use(*this);
  char byte;
  const ssize_t count =
      Retry([&] { return ::recv(use.fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT | MSG_NOSIGNAL); });
  return count == 0 || (count < 0 && errno != EAGAIN);
}

int Socket::get_bound_port() {
  Use use(*this);
  sockaddr_in address = {};
  if (GetAddress(::getsockname, use.fd, address)) return ntohs(address.sin_port);
  return use.fd == -1 ? 0 : _port;
}

std::string Socket::get_peer_name() {
  sockaddr_in address = {};
  return get_peer_address(address) ? NameAddress(address) : "";
}

bool Socket::get_peer_address(sockaddr_in& address) {
  Use use(*this);
  return GetAddress(::getpeername, use.fd, address);
}

bool Socket::get_peer_user(uid_t& user) {
  Use use(*this);
  ucred peer = {};
  socklen_t size = sizeof peer;
  if (_family != AF_UNIX || ::getsockopt(use.fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
    return false;
  }
  user = peer.uid;
  return true;
}

bool Socket::IsLoopback(const sockaddr_in& address) {
  return ntohl(address.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
}

std::string Socket::NameAddress(const sockaddr_in& address) {
  char text[INET_ADDRSTRLEN] = "";
  ::inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
  return std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
}
