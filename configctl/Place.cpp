#include "configctl/Place.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "configctl/Failure.h"
#include "libconfig/libconfig.h"

namespace configctl {
namespace {

constexpr char kQueueScheme[] = "mq";

[[noreturn]] void ThrowUsage(const std::string& uri, const std::string& what) {
  throw Failure(Status::kUsage,
                "--uri " + uri + ": " + what + "; write it like tcp://127.0.0.1:43110, or mq:");
}

// Decimal digits only, up to `max`; -1 otherwise.
int ToNumber(const std::string& text, int max) {
  if (text.empty() || text.size() > 10) return -1;
  if (text.find_first_not_of("0123456789") != std::string::npos) return -1;
  const long long number = std::atoll(text.c_str());
  return number > max ? -1 : static_cast<int>(number);
}

// Takes what stands before `separator` off the front of `text`; all of it where there is none.
std::string TakeUntil(std::string& text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  std::string front = text.substr(0, end);
  text.erase(0, end + 1);
  return front;
}

int ConnectWithin(int fd, const sockaddr_in& address, std::chrono::milliseconds limit) {
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return 0;
  if (errno != EINPROGRESS) return errno;
  pollfd writable = {fd, POLLOUT, 0};
  const auto milliseconds = std::min<std::chrono::milliseconds::rep>(limit.count(), INT_MAX);
  const int ready = ::poll(&writable, 1, static_cast<int>(milliseconds));
  if (ready == 0) return ETIMEDOUT;
  if (ready < 0) return errno;
  int error = 0;
  socklen_t size = sizeof error;
  if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
  return error;
}

}  // namespace

struct Place::Scheme {
  const char* name;
  bool hasConnections;
  // Over datagrams changes are heard at another place than the one that is asked.
  bool canListen;
  int port;
  const char* asksOver;
};

// The transports that the library serves. A new one is one row.
const Place::Scheme Place::kSchemes[] = {
    {"tcp", true, true, kDefaultPort, "tcp"},
    {"udp", false, false, kDefaultPort, "udp"},
    {"multicast", false, true, 63110, "udp"},
    {kQueueScheme, false, true, 0, kQueueScheme},
};

Place::Place(const std::string& uri, int config) {
  if (uri.compare(0, std::strlen(kQueueScheme) + 1, std::string(kQueueScheme) + ":") == 0) {
    ReadQueue(uri, uri.substr(std::strlen(kQueueScheme) + 1), config);
    return;
  }
  const std::size_t scheme = uri.find("://");
  if (scheme == std::string::npos) ThrowUsage(uri, "the transport is missing");
  const std::string name = uri.substr(0, scheme);
  _scheme = std::find_if(std::begin(kSchemes), std::end(kSchemes),
                         [&](const Scheme& row) { return name == row.name; });
  if (_scheme == std::end(kSchemes)) {
    ThrowUsage(uri, "there is no transport \"" + name + "\" here");
  }
  std::string options = uri.substr(scheme + 3);
  std::string authority = TakeUntil(options, '/');
  const bool hasPort = authority.find(':') != std::string::npos;
  _host = TakeUntil(authority, ':');
  if (_host.empty()) ThrowUsage(uri, "the host is missing");
  _port = _scheme->port;
  if (hasPort) {
    _port = ToNumber(authority, 65535);
    if (_port <= 0) ThrowUsage(uri, "the port is not a number from 1 to 65535");
  }
  ReadOptions(uri, options);
  if (config != kNoConfig) _config = config;
}

void Place::ReadQueue(const std::string& uri, const std::string& rest, int config) {
  _scheme = &*std::find_if(std::begin(kSchemes), std::end(kSchemes), [](const Scheme& row) {
    return std::strcmp(row.name, kQueueScheme) == 0;
  });
  _queue = rest.empty() ? PosixMQFactory::kRequestQueue : rest;
  if (_queue.size() < 2 || _queue.rfind('/') != 0) {
    throw Failure(Status::kUsage,
                  "--uri " + uri + ": a queue is named /NAME; write it like mq: or mq:/corewheel");
  }
  if (config != kNoConfig && config != 0) {
    throw Failure(Status::kUsage,
                  "over message queues there is configuration 0 only; name the daemon's tcp:// URI "
                  "for --config " +
                      std::to_string(config));
  }
}

void Place::ReadOptions(const std::string& uri, std::string options) {
  while (!options.empty()) {
    std::string value = TakeUntil(options, '/');
    const std::string key = TakeUntil(value, '=');
    if (key == "configid") {
      _config = ToNumber(value, INT_MAX);
      if (_config < 0) ThrowUsage(uri, "configid takes a number from 0 on");
    } else if (key == "ask" && IsListeningPlace()) {
      _askPort = ToNumber(value, 65535);
      if (_askPort <= 0) ThrowUsage(uri, "ask takes a port from 1 to 65535");
    } else if (key != "caching" && !key.empty()) {
      // Every command asks the daemon itself, so that there is nothing to cache.
      ThrowUsage(uri, "there is no option \"" + key + "\" here");
    }
  }
}

void Place::Resolve() {
  if (!_queue.empty()) return;
  addrinfo wanted = {};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const std::string host = _host == "localhost" ? "127.0.0.1" : _host;
  const int error = ::getaddrinfo(host.c_str(), nullptr, &wanted, &found);
  if (error != 0) {
    throw Failure(Status::kNoConnection, "there is no address for \"" + _host + "\" (" +
                                             ::gai_strerror(error) +
                                             "); give the dotted address with --uri");
  }
  char text[INET_ADDRSTRLEN] = "";
  const auto* const address = reinterpret_cast<const sockaddr_in*>(found->ai_addr);
  ::inet_ntop(AF_INET, &address->sin_addr, text, sizeof text);
  ::freeaddrinfo(found);
  _address = text;
}

std::string Place::GetURI() const {
  if (!_queue.empty()) return kQueueScheme + (":" + _queue);
  return std::string(_scheme->name) + "://" + _host + ":" + std::to_string(_port) +
         (_config == 0 ? "" : "/configid=" + std::to_string(_config));
}

std::string Place::LibraryURI(const char* scheme, int port) const {
  return std::string(scheme) + "://" + _address + ":" + std::to_string(port) +
         "/configid=" + std::to_string(_config);
}

std::string Place::GetLibraryURI() const {
  return LibraryURI(_scheme->asksOver, IsListeningPlace() ? _askPort : _port);
}

std::string Place::GetListeningURI() const {
  return IsListeningPlace() ? LibraryURI(_scheme->name, _port) : "";
}

bool Place::HasConnections() const { return _scheme->hasConnections; }

bool Place::IsListeningPlace() const { return _scheme->name != std::string(_scheme->asksOver); }

bool Place::CanListen() const { return _scheme->canListen; }

bool Place::IsOnThisMachine() const {
  if (!_queue.empty()) return true;
  constexpr uint32_t kLoopbackNet = 127;
  sockaddr_in there = {};
  there.sin_family = AF_INET;
  there.sin_port = htons(static_cast<uint16_t>(_port));
  ::inet_pton(AF_INET, _address.c_str(), &there.sin_addr);
  if (ntohl(there.sin_addr.s_addr) >> 24 == kLoopbackNet) return true;
  // Nothing is sent: the system only chooses the address that this machine would have for it, which
  // is the same one when it is its own.
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in here = {};
  socklen_t length = sizeof here;
  const bool known = ::connect(fd, reinterpret_cast<const sockaddr*>(&there), sizeof there) == 0 &&
                     ::getsockname(fd, reinterpret_cast<sockaddr*>(&here), &length) == 0;
  if (fd >= 0) ::close(fd);
  return known && here.sin_addr.s_addr == there.sin_addr.s_addr;
}

int Place::Probe(std::chrono::milliseconds limit) const {
  if (!_scheme->hasConnections) return ECONNREFUSED;
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return errno;
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(_port));
  ::inet_pton(AF_INET, _address.c_str(), &address.sin_addr);
  const int error = ConnectWithin(fd, address, limit);
  ::close(fd);
  return error;
}

}  // namespace configctl
