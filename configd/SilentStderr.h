// Keeps the library's own diagnostics away while it exists: where a line of the daemon's says it
// better, or says all there is to say.
#pragma once

#include <fcntl.h>
#include <unistd.h>

class SilentStderr {
 public:
  SilentStderr() : _saved(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) { ToTheEnd(); }
  ~SilentStderr() {
    if (_saved < 0) return;
    ::dup2(_saved, STDERR_FILENO);
    ::close(_saved);
  }
  // To the end of the process.
  static void ToTheEnd() {
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null < 0) return;
    ::dup2(null, STDERR_FILENO);
    ::close(null);
  }

  SilentStderr(const SilentStderr&) = delete;
  SilentStderr& operator=(const SilentStderr&) = delete;

 private:
  const int _saved;
};
