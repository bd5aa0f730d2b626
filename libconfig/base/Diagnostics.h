// The library's messages: lines of text on what failed and why, and the traces of qel::logging.
// They go to standard error, each message in one write, until a program sends them elsewhere:
//
//   qel::config::SilenceMessages();                         // nowhere
//   qel::config::SetMessageHandler(&WriteToSyslog, &log);   // void WriteToSyslog(void*, const
//   char*, size_t) qel::config::SetMessageHandler(nullptr, nullptr);       // to standard error
//   again
//
// Any thread may set a handler. A message neither waits for a lock nor allocates, unless it is
// longer than 511 bytes.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "libconfig/base/Export.h"

namespace qel::config {

// Gets a message of `length` bytes, line end included, with a zero behind them; the text is gone
// when the call returns. Called on any thread, on several at once, and with locks of the library
// held: it must neither block nor call the library.
using MessageHandler = void (*)(void* context, const char* text, std::size_t length);

// Sends all messages to `handler` from now on; null stands for standard error. On return the
// handler before is called no more, so that its context may be freed.
LIBCONFIG_API void SetMessageHandler(MessageHandler handler, void* context);

LIBCONFIG_API void SilenceMessages();

// The rest is the library's own; it is not exported. All leave errno as it was.

// One message: a caller that wants a line end gives one.
void Report(const char* format, ...) __attribute__((format(printf, 1, 2)));
void ReportV(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));

// Reports `text`, a colon, the text of errno and a line end, as perror does.
void ReportErrno(const char* text);

}  // namespace qel::config
