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

}  // namespace

Stream::Stream(int fd) : _fd(fd) {
  const int on = 1;
  Checked(::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on), "TCP_NODELAY");
}

Stream::~Stream() {
  if (_fd >= 0) ::close(_fd);
}

Stream Stream::Dial(int port) {
  Stream stream(Checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
  const sockaddr_in address = Loopback(port);
  Checked(::connect(stream._fd, reinterpret_cast<const sockaddr*>(&address), sizeof address),
          "connect");
  return stream;
}

std::pair<Stream, Stream> Stream::Pair() {
  const Stream listener(Checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  Checked(::bind(listener._fd, reinterpret_cast<sockaddr*>(&address), length), "bind");
  Checked(::listen(listener._fd, 1), "listen");
  Checked(::getsockname(listener._fd, reinterpret_cast<sockaddr*>(&address), &length),
          "getsockname");
  Stream dialled = Dial(ntohs(address.sin_port));
  return {std::move(dialled),
          Stream(Checked(::accept4(listener._fd, nullptr, nullptr, SOCK_CLOEXEC), "accept"))};
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

void Stream::Shut() { ::shutdown(_fd, SHUT_RDWR); }

Server::Server() : _server(new network::NetworkServer(AF_INET, SOCK_STREAM, 0, "127.0.0.1")) {
  ConfigFactoryImpl::GetInstance();
  if (!_server->Init()) throw std::runtime_error("no port to serve on");
  _port = _server->GetPort();
  if (!_server->Start()) throw std::runtime_error("the server did not start");
}

Server::~Server() { _server->Stop(); }

std::string Server::Uri(int configID) const {
  return "tcp://127.0.0.1:" + std::to_string(_port) + "/configid=" + std::to_string(configID);
}

Stream DialConfiguration(const Server& server, uint32_t configID) {
  Stream stream = Stream::Dial(server.port());
  const network::XCONFIGMGR_CONNECTION_REQUEST_T request = {
      XCFG_CONNECT_REQUEST, kPeer, 0, configID, 0, network::kResultWord};
  stream.Send(&request, sizeof request);
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

std::vector<char> SetRequest(uint32_t param, uint32_t value) {
  network::XCONFIGMGR_REQUEST_T set = {};
  set.msgtype = XCFG_SET_PARAM_REQUEST;
  set.connectionID = kPeer;
  set.result = network::kResultWord;
  set.paramID = param;
  set.value = value;
  std::vector<char> bytes(sizeof set);
  std::memcpy(bytes.data(), &set, sizeof set);
  return bytes;
}

}  // namespace bench
