#include "libconfig/base/Diagnostics.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace qel::config {
namespace {

void WriteAll(const char* text, size_t length) {
  while (length > 0) {
    const ssize_t written = ::write(STDERR_FILENO, text, length);
    if (written < 0) {
      if (errno == EINTR) continue;
      return;  // nowhere is left to complain
    }
    text += written;
    length -= static_cast<size_t>(written);
  }
}

}  // namespace

void ReportV(const char* format, va_list arguments) {
  const int saved = errno;
  char line[512];
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(line, sizeof line, format, arguments);
  if (length >= 0 && static_cast<size_t>(length) < sizeof line) {
    WriteAll(line, static_cast<size_t>(length));
  } else if (length >= 0) {
    std::string longLine(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(longLine.data(), longLine.size(), format, again);
    WriteAll(longLine.data(), static_cast<size_t>(length));
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
