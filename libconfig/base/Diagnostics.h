// The library's one way to standard error. Each call is one write, so that lines of several threads
// and processes never mix. errno is left as it was.
#pragma once

#include <cstdarg>

namespace qel::config {

// Writes the formatted text as it stands: a caller that wants a line end gives one.
void Report(const char* format, ...) __attribute__((format(printf, 1, 2)));
void ReportV(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));

// Writes `text`, a colon, the text of errno and a line end, as perror does.
void ReportErrno(const char* text);

}  // namespace qel::config
