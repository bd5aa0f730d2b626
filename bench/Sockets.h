// Plain sockets over the loopback interface, for references and for peers that speak the protocol
// with nothing between them and the system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qel::vorlane::config::access {
class NetworkServer;
}

namespace bench {

// The records' sizes on the wire.
constexpr std::size_t kRequestSize = 40;
constexpr std::size_t kRecordSize = 44;

// Owns a connected socket, of TCP without delay or of UDP. Operations throw when the other end is
// gone.
class Stream {
 public:
  explicit Stream(int fd);
  ~Stream();
  Stream(Stream&& other) noexcept : _fd(std::exchange(other._fd, -1)) {}
  Stream& operator=(Stream&&) = delete;

  static Stream Dial(int port);
  // Both ends of a new connection.
  static std::pair<Stream, Stream> Pair();
  // The second is bound only, as the socket of a server that everybody sends to.
  static std::pair<Stream, Stream> DatagramPair();
  // One that hears what is multicast to the group and port, and one that sends there.
  static Stream Member(const char* group, int port);
  static Stream Sender(const char* group, int port);

  void Send(const void* data, std::size_t length);
  void Receive(void* data, std::size_t length);
  // Receives a datagram, and answers its sender.
  void Reply(void* request, std::size_t requestSize, const void* answer, std::size_t answerSize);
  // Wakes whoever receives.
  void Shut();
  int fd() const { return _fd; }

 private:
  int _fd;
};

// A server of this process on a port that the system chose. Its threads inherit the processor that
// the maker is bound to.
class Server {
 public:
  // `type` is SOCK_STREAM or SOCK_DGRAM.
  explicit Server(int type);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  int port() const { return _port; }
  // Of a configuration that it serves.
  std::string Uri(int configID) const;

 private:
  qel::vorlane::config::access::NetworkServer* const _server;
  const char* const _scheme;
  int _port = 0;
};

// A peer that is connected to a configuration.
Stream DialConfiguration(const Server& server, uint32_t configID);
// One that has its registration for every change behind it.
Stream DialWatcher(const Server& server, uint32_t configID);

// The bytes of requests. Over TCP the connection knows its configuration by itself.
std::vector<char> ConnectRequest(uint32_t configID);
std::vector<char> SetRequest(uint32_t param, uint32_t value, uint32_t configID = 0);

}  // namespace bench
