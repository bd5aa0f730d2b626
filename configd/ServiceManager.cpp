#include "configd/ServiceManager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace service_manager {

void Notify(const char* state) {
  const char* const path = std::getenv("NOTIFY_SOCKET");
  if (path == nullptr || (path[0] != '/' && path[0] != '@')) return;
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::size_t length = std::strlen(path);
  if (length >= sizeof address.sun_path) return;
  std::memcpy(address.sun_path, path, length);
  // An abstract name is written with an at sign and begins with a zero byte.
  if (path[0] == '@') address.sun_path[0] = '\0';

  const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return;
  ::sendto(fd, state, std::strlen(state), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
           static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
  ::close(fd);
}

std::chrono::milliseconds GetWatchdogTime() {
  const char* const microseconds = std::getenv("WATCHDOG_USEC");
  const char* const process = std::getenv("WATCHDOG_PID");
  if (microseconds == nullptr || (process != nullptr && std::atol(process) != ::getpid()))
    return {};
  return std::chrono::milliseconds(std::atoll(microseconds) / 1000);
}

}  // namespace service_manager
