#include "libconfig/base/Diagnostics.h"

#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "libconfig/base/Mutex.h"

namespace qel::config {
namespace {

void WriteToStandardError(void*, const char* text, std::size_t length) {
  while (length > 0) {
    const ssize_t written = ::write(STDERR_FILENO, text, length);
    if (written < 0) {
      if (errno == EINTR) continue;
      return;  // the failure cannot be reported either
    }
    text += written;
    length -= static_cast<std::size_t>(written);
  }
}

// Where messages go. One of the two routes is in force. SetMessageHandler fills the other one, once
// no thread uses it any more, and then switches.
struct Route {
  MessageHandler handler = &WriteToStandardError;
  void* context = nullptr;
  std::atomic<int> users{0};
};

Route g_routes[2];
std::atomic<Route*> g_route{&g_routes[0]};

// Holds the route in force, so that it is not filled meanwhile.
class RouteInUse {
 public:
  RouteInUse() {
    for (;;) {
      _route = g_route.load();
      ++_route->users;
      // If the route is not in force any more, it may be about to be filled: do not read it.
      if (_route == g_route.load()) return;
      --_route->users;
    }
  }
  ~RouteInUse() { --_route->users; }
  RouteInUse(const RouteInUse&) = delete;
  RouteInUse& operator=(const RouteInUse&) = delete;

  const Route& operator*() const { return *_route; }

 private:
  Route* _route;
};

void AwaitUnused(const Route& route) {
  while (route.users.load() != 0) ::sched_yield();
}

}  // namespace

void SetMessageHandler(MessageHandler handler, void* context) {
  static auto* const mutex = new Mutex;  // outlives the threads
  MutexLock lock(*mutex);
  Route* const before = g_route.load();
  Route& next = g_routes[before == &g_routes[0] ? 1 : 0];
  AwaitUnused(next);
  next.handler = handler != nullptr ? handler : &WriteToStandardError;
  next.context = context;
  g_route.store(&next);
  AwaitUnused(*before);
}

void SilenceMessages() {
  SetMessageHandler([](void*, const char*, std::size_t) {}, nullptr);
}

void ReportV(const char* format, va_list arguments) {
  const int saved = errno;
  char line[512];
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(line, sizeof line, format, arguments);
  if (length >= 0) {
    const char* text = line;
    auto size = static_cast<std::size_t>(length);
    std::string longLine;
    if (size >= sizeof line) {
      try {
        longLine.resize(size);
        std::vsnprintf(longLine.data(), size + 1, format, again);
        text = longLine.data();
      } catch (const std::bad_alloc&) {
        size = sizeof line - 1;  // its beginning
      }
    }
    const RouteInUse route;
    (*route).handler((*route).context, text, size);
  }
  va_end(again);
  errno = saved;
}

void Report(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  ReportV(format, arguments);
  va_end(arguments);
}

void ReportErrno(const char* text) {
  char reason[128];
  // The GNU form returns the text, which may or may not be in the buffer.
  Report("%s: %s\n", text, ::strerror_r(errno, reason, sizeof reason));
}

}  // namespace qel::config
