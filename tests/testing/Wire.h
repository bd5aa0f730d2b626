// Both ends of the network protocol as a stranger would write them: plain sockets, words and bytes.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

using Bytes = std::vector<char>;
using WordList = std::vector<uint32_t>;

// The bytes of whole words, such as Words({16, 1, 2}).
template <typename List = WordList>
Bytes Words(const List& words) {
  Bytes bytes(words.size() * sizeof(uint32_t));
  if (!bytes.empty()) std::memcpy(bytes.data(), words.data(), bytes.size());
  return bytes;
}

inline Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// The whole words that `bytes` begin with, as many as there are or as are asked for.
inline WordList ToWords(const Bytes& bytes, std::size_t most = SIZE_MAX) {
  WordList words(std::min(bytes.size() / 4, most));
  if (!words.empty()) std::memcpy(words.data(), bytes.data(), words.size() * 4);
  return words;
}

// Big-endian, as serialized values are.
inline Bytes BigWord(uint32_t word) {
  return {static_cast<char>(word >> 24), static_cast<char>(word >> 16),
          static_cast<char>(word >> 8), static_cast<char>(word)};
}

inline Bytes StringValueBytes(uint32_t param, const std::string& text) {
  Bytes bytes = BigWord(1) + BigWord(0) + BigWord(param) + BigWord(12);
  bytes.insert(bytes.end(), text.begin(), text.end());
  bytes.push_back('\0');
  return bytes;
}

inline Bytes ConnectionRequest(uint32_t type, uint32_t config = 0, uint32_t request = 0) {
  return Words({type, 0x00077777, request, config, 0, 4096});
}
inline Bytes ListenerRequest(uint32_t type, uint32_t param = 0, uint32_t request = 0) {
  return Words({type, 0x00077777, request, 0, 0, 4096, param});
}
inline Bytes ParamRequest(uint32_t type, uint32_t param, uint32_t value = 0, uint32_t request = 0,
                          uint32_t streamLength = 0) {
  return Words({type, 0x00077777, request, 0, 0, 4096, param, value, streamLength,
                streamLength == 0 ? 0U : 3072U});
}
inline Bytes SetStringRequest(uint32_t param, const std::string& text, uint32_t request = 0) {
  const Bytes value = StringValueBytes(param, text);
  return ParamRequest(113, param, 0, request, static_cast<uint32_t>(value.size())) + value;
}

inline sockaddr_in AddressOf(in_addr_t host, int port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(host);
  return address;
}

// Calls bind or connect.
template <typename Call>
void WithAddress(Call call, int fd, const sockaddr_in& address) {
  EXPECT_EQ(0, call(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

// One end of a TCP stream.
class Wire {
 public:
  explicit Wire(int fd) : _fd(fd) {}
  ~Wire() { Close(); }
  Wire(const Wire&) = delete;
  Wire& operator=(const Wire&) = delete;

  static int Dial(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    WithAddress(::connect, fd, AddressOf(INADDR_LOOPBACK, port));
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
  }

  int fd() const { return _fd; }
  void Close() {
    if (_fd >= 0) ::close(_fd);
    _fd = -1;
  }
  void CloseForWriting() { ::shutdown(_fd, SHUT_WR); }

  bool Send(const Bytes& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
      const ssize_t count = ::send(_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) return false;
      sent += static_cast<std::size_t>(count);
    }
    return true;
  }

  // What comes, up to `length` bytes; less when the peer closes or the time is over.
  Bytes Receive(std::size_t length, int milliseconds = 60000) {
    Bytes bytes;
    while (bytes.size() < length) {
      pollfd wanted = {_fd, POLLIN, 0};
      if (::poll(&wanted, 1, milliseconds) <= 0) break;
      char piece[65536];
      const ssize_t count = ::recv(_fd, piece, std::min(sizeof piece, length - bytes.size()), 0);
      if (count <= 0) break;
      bytes.insert(bytes.end(), piece, piece + count);
    }
    return bytes;
  }

  // One record as words; empty when it does not come whole.
  WordList Record(std::size_t words = 11, int milliseconds = 60000) {
    const Bytes bytes = Receive(words * 4, milliseconds);
    return bytes.size() == words * 4 ? ToWords(bytes) : WordList();
  }

  // Whether the peer has closed, with nothing left to read.
  bool IsClosedByPeer(int milliseconds = 60000) {
    pollfd wanted = {_fd, POLLIN, 0};
    char byte;
    return ::poll(&wanted, 1, milliseconds) > 0 && ::recv(_fd, &byte, 1, 0) <= 0;
  }

 private:
  int _fd;
};

// A client of the test's own.
class WirePeer : public Wire {
 public:
  explicit WirePeer(int port) : Wire(Dial(port)) {}

  // Connected to a configuration.
  WirePeer(int port, uint32_t config) : Wire(Dial(port)) {
    EXPECT_TRUE(Send(ConnectionRequest(16, config)));
    EXPECT_EQ(32U, Record(7).at(0));
  }

  uint32_t Get(uint32_t param) {
    Send(ParamRequest(80, param));
    const auto answer = Record();
    return answer.empty() ? 0xDEADDEAD : answer[8];
  }

  std::string GetString(uint32_t param) {
    Send(ParamRequest(112, param));
    const auto answer = Record();
    if (answer.empty() || answer[7] != 0) return "<no answer>";
    const Bytes value = Receive(answer[9]);
    return value.size() < 17 ? "<cut>" : std::string(value.begin() + 16, value.end() - 1);
  }

  // Every change from here on. The answer to a read says that the registration has been worked on.
  void Listen() {
    Send(ListenerRequest(48));
    Get(0x32010000);
  }
};

// A datagram socket of the test's own, connected to a server or bound to a port.
class Datagrams {
 public:
  explicit Datagrams(int port) : Datagrams() {
    WithAddress(::connect, _fd, AddressOf(INADDR_LOOPBACK, port));
  }
  Datagrams(const std::string& from, const std::string& to, int port) : Datagrams() {
    WithAddress(::bind, _fd, AddressOf(ntohl(::inet_addr(from.c_str())), 0));
    WithAddress(::connect, _fd, AddressOf(ntohl(::inet_addr(to.c_str())), port));
  }
  // Hears what is sent to the group on the loopback interface.
  Datagrams(const char* group, int port) : Datagrams() {
    const int on = 1;
    ::setsockopt(_fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    WithAddress(::bind, _fd, AddressOf(INADDR_ANY, port));
    ip_mreq member = {};
    ::inet_pton(AF_INET, group, &member.imr_multiaddr);
    member.imr_interface.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(0, ::setsockopt(_fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &member, sizeof member));
  }
  ~Datagrams() { ::close(_fd); }
  Datagrams(const Datagrams&) = delete;
  Datagrams& operator=(const Datagrams&) = delete;

  void Send(const Bytes& bytes) { ::send(_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

  // Empty when none comes in time.
  Bytes Receive(int milliseconds = 60000) {
    pollfd wanted = {_fd, POLLIN, 0};
    if (::poll(&wanted, 1, milliseconds) <= 0) return {};
    Bytes bytes(65536);
    const ssize_t count = ::recv(_fd, bytes.data(), bytes.size(), 0);
    bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return bytes;
  }

  // The next change of `config`. The group hears whatever other tests announce meanwhile, too.
  Bytes ReceiveEvent(uint32_t config) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (std::chrono::steady_clock::now() < end) {
      Bytes event = Receive(1000);
      const auto words = ToWords(event, 11);
      if (words.size() == 11 && words[3] == config) return event;
    }
    return {};
  }

  // The words that a datagram begins with.
  WordList Record(int milliseconds = 60000) { return ToWords(Receive(milliseconds), 11); }

 private:
  Datagrams() : _fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

  const int _fd;
};

// A port of the system's choice where a test is the server.
class WireListener {
 public:
  // `type` is SOCK_STREAM or SOCK_DGRAM.
  explicit WireListener(int type = SOCK_STREAM)
      : _isStream(type == SOCK_STREAM), _fd(::socket(AF_INET, type | SOCK_CLOEXEC, 0)) {
    WithAddress(::bind, _fd, AddressOf(INADDR_LOOPBACK, 0));
    EXPECT_EQ(_isStream ? 0 : -1, ::listen(_fd, 16));
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    ::getsockname(_fd, reinterpret_cast<sockaddr*>(&address), &length);
    _port = ntohs(address.sin_port);
  }
  ~WireListener() {
    if (_fd >= 0) ::close(_fd);
  }
  WireListener(const WireListener&) = delete;
  WireListener& operator=(const WireListener&) = delete;

  int GetPort() const { return _port; }
  std::string GetURI() const {
    return (_isStream ? "tcp" : "udp") + ("://127.0.0.1:" + std::to_string(_port));
  }
  // The caller's to close. Of datagrams there is one, connected to whoever sends the first.
  int Accept() {
    if (_isStream) return ::accept4(_fd, nullptr, nullptr, SOCK_CLOEXEC);
    sockaddr_in from = {};
    socklen_t length = sizeof from;
    char byte;
    ::recvfrom(_fd, &byte, 1, MSG_PEEK, reinterpret_cast<sockaddr*>(&from), &length);
    WithAddress(::connect, _fd, from);
    return std::exchange(_fd, -1);
  }

 private:
  const bool _isStream;
  int _fd;
  int _port = 0;
};

}  // namespace testing_support
