#include "bench/Sockets.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "libconfig/libconfig.h"

namespace bench {

namespace network = qel::vorlane::config::access;

namespace {

int Checked(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

sockaddr_in Loopback(int port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

constexpr uint32_t kPeer = 0x00077777;

int WithoutDelay(int fd) {
  const int on = 1;
  Checked(::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on), "TCP_NODELAY");
  return fd;
}

int Datagrams() { return Checked(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket"); }

void Bind(int fd, sockaddr_in& address) {
  socklen_t length = sizeof address;
  Checked(::bind(fd, reinterpret_cast<sockaddr*>(&address), length), "bind");
  Checked(::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), "getsockname");
}

void Connect(int fd, const sockaddr_in& address) {
  Checked(::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), "connect");
}

template <typename Record>
std::vector<char> Bytes(const Record& record) {
  std::vector<char> bytes(sizeof record);
  std::memcpy(bytes.data(), &record, sizeof record);
  return bytes;
}

}  // namespace

Stream::Stream(int fd) : _fd(fd) {}

Stream::~Stream() {
  if (_fd >= 0) ::close(_fd);
}

Stream Stream::Dial(int port) {
  Stream stream(WithoutDelay(Checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")));
  Connect(stream._fd, Loopback(port));
  return stream;
}

std::pair<Stream, Stream> Stream::Pair() {
  const Stream listener(Checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
  sockaddr_in address = Loopback(0);
  Bind(listener._fd, address);
  Checked(::listen(listener._fd, 1), "listen");
  Stream dialled = Dial(ntohs(address.sin_port));
  return {std::move(dialled),
          Stream(WithoutDelay(
              Checked(::accept4(listener._fd, nullptr, nullptr, SOCK_CLOEXEC), "accept")))};
}

std::pair<Stream, Stream> Stream::DatagramPair() {
  std::pair<Stream, Stream> pair{Stream(Datagrams()), Stream(Datagrams())};
  sockaddr_in second = Loopback(0);
  Bind(pair.second._fd, second);
  Connect(pair.first._fd, second);
  return pair;
}

Stream Stream::Member(const char* group, int port) {
  Stream member(Datagrams());
  const int on = 1;
  Checked(::setsockopt(member._fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), "SO_REUSEADDR");
  sockaddr_in address = Loopback(port);
  address.sin_addr.s_addr = INADDR_ANY;
  Bind(member._fd, address);
  ip_mreq membership = {};
  ::inet_pton(AF_INET, group, &membership.imr_multiaddr);
  membership.imr_interface.s_addr = htonl(INADDR_LOOPBACK);
  Checked(::setsockopt(member._fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership),
          "IP_ADD_MEMBERSHIP");
  return member;
}

Stream Stream::Sender(const char* group, int port) {
  Stream sender(Datagrams());
  sockaddr_in address = Loopback(0);
  Bind(sender._fd, address);
  address.sin_port = htons(static_cast<uint16_t>(port));
  ::inet_pton(AF_INET, group, &address.sin_addr);
  Connect(sender._fd, address);
  return sender;
}

void Stream::Send(const void* data, std::size_t length) {
  const char* rest = static_cast<const char*>(data);
  while (length > 0) {
    const ssize_t sent = ::send(_fd, rest, length, MSG_NOSIGNAL);
    Checked(static_cast<int>(sent), "send");
    rest += sent;
    length -= static_cast<std::size_t>(sent);
  }
}

void Stream::Receive(void* data, std::size_t length) {
  char* rest = static_cast<char*>(data);
  while (length > 0) {
    const ssize_t count = ::recv(_fd, rest, length, 0);
    if (count == 0) errno = ECONNRESET;
    Checked(count == 0 ? -1 : static_cast<int>(count), "recv");
    rest += count;
    length -= static_cast<std::size_t>(count);
  }
}

void Stream::Reply(void* request, std::size_t requestSize, const void* answer,
                   std::size_t answerSize) {
  sockaddr_in from = {};
  socklen_t size = sizeof from;
  const ssize_t count =
      ::recvfrom(_fd, request, requestSize, 0, reinterpret_cast<sockaddr*>(&from), &size);
  if (count == 0) errno = ECONNRESET;
  Checked(count == 0 ? -1 : static_cast<int>(count), "recvfrom");
  Checked(static_cast<int>(
              ::sendto(_fd, answer, answerSize, 0, reinterpret_cast<sockaddr*>(&from), size)),
          "sendto");
}

void Stream::Shut() { ::shutdown(_fd, SHUT_RDWR); }

Server::Server(int type)
    : _server(new network::NetworkServer(AF_INET, type, 0, "127.0.0.1")),
      _scheme(type == SOCK_STREAM ? "tcp" : "udp") {
  ConfigFactoryImpl::GetInstance();
  if (!_server->Init()) throw std::runtime_error("no port to serve on");
  _port = _server->GetPort();
  if (!_server->Start()) throw std::runtime_error("the server did not start");
}

Server::~Server() { _server->Stop(); }

std::string Server::Uri(int configID) const {
  return std::string(_scheme) + "://127.0.0.1:" + std::to_string(_port) +
         "/configid=" + std::to_string(configID);
}

Stream DialConfiguration(const Server& server, uint32_t configID) {
  Stream stream = Stream::Dial(server.port());
  const std::vector<char> request = ConnectRequest(configID);
  stream.Send(request.data(), request.size());
  network::XCONFIGMGR_CONNECTION_RESPONSE_T response;
  stream.Receive(&response, sizeof response);
  return stream;
}

Stream DialWatcher(const Server& server, uint32_t configID) {
  Stream stream = DialConfiguration(server, configID);
  const network::XCONFIGMGR_EVENT_HANDLER_REQUEST_T add = {
      XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST, kPeer, 0, configID, 0, network::kResultWord, 0};
  stream.Send(&add, sizeof add);
  // Requests are worked off in turn: an answer to the next one says that this one is done.
  network::XCONFIGMGR_REQUEST_T get = {};
  get.msgtype = XCFG_GET_PARAM_REQUEST;
  get.paramID = eParamID_IPConfig;
  stream.Send(&get, sizeof get);
  network::XCONFIGMGR_RESPONSE_T response;
  stream.Receive(&response, sizeof response);
  return stream;
}

std::vector<char> ConnectRequest(uint32_t configID) {
  return Bytes(network::XCONFIGMGR_CONNECTION_REQUEST_T{XCFG_CONNECT_REQUEST, kPeer, 0, configID, 0,
                                                        network::kResultWord});
}

std::vector<char> SetRequest(uint32_t param, uint32_t value, uint32_t configID) {
  network::XCONFIGMGR_REQUEST_T set = {};
  set.configID = configID;
  set.msgtype = XCFG_SET_PARAM_REQUEST;
  set.connectionID = kPeer;
  set.result = network::kResultWord;
  set.paramID = param;
  set.value = value;
  return Bytes(set);
}

}  // namespace bench
