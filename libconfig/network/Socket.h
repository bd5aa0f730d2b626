// One socket: stream or datagram, Internet or local, as its constructor is told. The object owns
// its descriptor. Operations return 1 or a byte count on success and 0 on failure, unless they say
// otherwise; each failure is reported in one line on standard error, and nothing is thrown.
//
//   Socket socket(AF_INET, SOCK_STREAM);
//   if (!socket.create() || !socket.connect("127.0.0.1", 43110)) return false;
//
// One thread may receive while another sends. Any thread may close: that wakes all threads inside a
// call, and the descriptor's number is freed when the last of them has left. Opening, binding and
// connecting are for one thread at a time.
#pragma once

#include <netinet/in.h>
#include <sys/types.h>
#include <sys/un.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "libconfig/base/Export.h"

class LIBCONFIG_API Socket {
 public:
  // `family` is AF_INET or AF_UNIX, `type` SOCK_STREAM or SOCK_DGRAM. Nothing is opened.
  Socket(int family, int type);
  virtual ~Socket();
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  int create();
  // The result of the system's close, -1 when the socket was closed already, 0 when somebody inside
  // a call is going to free the descriptor.
  int close();

  // To any interface, or to that of `host`, a dotted address; the empty host is any interface. Port
  // 0 lets the system choose. A local socket is bound to the file that its port numbers, see
  // build_local_path.
  int bind(int port);
  int bind(const std::string& host, int port);
  int bind_inet(int port);
  // Before binding: lets no other socket bind to the same port and take the datagrams. A datagram
  // socket shares its port unless this was called; a stream socket that listens never does.
  int set_exclusive();
  // Removes a socket that was left at the path. Fails without a message.
  int bind_local(int port);
  // "/tmp/qel_%d". Writes the path to standard error, too.
  std::string build_local_path(std::string host, int port);
  int listen();
  // REQUIRES: `peer` was constructed and not created.
  int accept(Socket* peer);
  // `host` is a dotted address; a local socket connects to the file that `port` numbers. An
  // Internet socket that the system would connect to itself, as happens when nobody serves the
  // port, is refused and closed. Waits 12 s at most.
  int connect(std::string host, int port);
  int connect_inet(std::string host, int port);
  int connect_local(std::string host, int port);

  // One send, which may take less than `length`.
  int send(char* data, unsigned length);
  // Sends all of it. `length` then holds the bytes that went. A length of 0 or less is a failure.
  int sendall(char* data, int* length);
  // Datagram: one datagram of at most `length` bytes. Stream: asks for `length` bytes over and over
  // until as many are in, so that its count is greater than `length` when a peer sends on; what is
  // too much is lost. The count so far when the peer closes; -1 on an error.
  int recv(char* data, unsigned length);
  // Waits for `length` bytes and leaves them in the socket.
  int peek(char* data, unsigned length);
  int sendto(void* data, unsigned length, const sockaddr_in& to);
  int recvfrom(void* data, unsigned length, sockaddr_in& from);

  // The system's own calls, without a report and with errno set: one receive, with its sender or
  // without; one send, which does not wait when `wait` is false.
  ssize_t recv_some(void* data, std::size_t length);
  // The same, with EINTR where a signal ends the waiting, and the sender of a datagram unless null.
  ssize_t recv_once(void* data, std::size_t length, sockaddr_in* from);
  ssize_t recvfrom_some(void* data, std::size_t length, sockaddr_in& from);
  ssize_t send_some(const void* data, std::size_t length, bool wait);

  // 1 when the socket becomes readable within the milliseconds. A time-out is reported at length.
  int read_select(unsigned milliseconds);
  // The report of read_select, for who has waited by other means.
  static void ReportNothingToRead(unsigned msLeft);
  // The same without any report, for reading or for writing; a negative time waits for ever. -1 on
  // an error.
  int wait_readable(int milliseconds);
  int wait_writable(int milliseconds);

  // True makes the socket BLOCKING, false non-blocking: callers have always relied on it.
  int set_non_blocking(bool blocking);
  // `option` is SO_SNDBUF or SO_RCVBUF.
  int set_buffer_size(int option, int bytes);
  int get_buffer_size(int option);
  // How long a call waits to receive or to send before it fails with EAGAIN; 0 is for ever.
  int set_receive_timeout(unsigned milliseconds);
  int set_send_timeout(unsigned milliseconds);
  // Lets the system find out about a peer that vanished without a word; over TCP within two
  // minutes, unless something is on its way to it.
  int set_keepalive();
  int add_membership(const std::string& group, const std::string& interface);
  int drop_membership(const std::string& group, const std::string& interface);

  bool is_open() const { return (_state.load(std::memory_order_relaxed) & kClosed) == 0; }
  // Whether the peer of a stream has closed, as far as is known here and nothing waits to be read.
  bool is_peer_gone();
  // For poll; stale as soon as somebody closes.
  int descriptor() const { return _fd.load(std::memory_order_relaxed); }
  int get_type() const { return _type; }
  // The port last bound or connected, 0 before.
  int get_port() const { return _port; }
  // The port that the system gave to a bound Internet socket.
  int get_bound_port();
  // Who an Internet socket is connected to, as "127.0.0.1:43110"; empty when there is nobody.
  std::string get_peer_name();
  static std::string NameAddress(const sockaddr_in& address);
  static bool IsLoopback(const sockaddr_in& address);
  // The same as an address, and the user that a local socket is connected to. False when there is
  // nobody.
  bool get_peer_address(sockaddr_in& address);
  bool get_peer_user(uid_t& user);

 private:
  class Use;

  // In _state: the lowest bit tells that the socket is closed, the rest counts callers by twos.
  static constexpr uint32_t kClosed = 1;
  static constexpr uint32_t kUser = 2;

  void Adopt(int fd);
  int Leave();
  void SetLocalAddress(int family, const std::string& host, int port);
  int Wait(short events, int milliseconds, int* left);

  const int _family;
  const int _type;
  std::atomic<int> _fd{-1};
  sockaddr_in _inetAddr = {};
  sockaddr_un _localAddr = {};
  std::string _host = "127.0.0.1";
  int _port = 0;
  std::atomic<uint32_t> _state{kClosed};
};
