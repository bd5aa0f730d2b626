// The library's messages: lines of text on what failed and why, and the traces of qel::logging.
// They go to standard error, each message in one write, until a program redirects them:
//
//   qel::config::SilenceMessages();                     // drop them
//   qel::config::SetMessageHandler(&ToSyslog, &log);    // see MessageHandler
//   qel::config::SetMessageHandler(nullptr, nullptr);   // standard error again
//
// Any thread may set a handler. Reporting a message takes no lock, and allocates only for a message
// longer than 511 bytes.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "libconfig/base/Export.h"

namespace qel::config {

// Receives one message: `length` bytes, line end included, followed by a zero. The text is valid
// during the call only. Called on any thread, on several at once, and with locks of the library
// held: it must neither block nor call the library.
using MessageHandler = void (*)(void* context, const char* text, std::size_t length);

// Sends all messages to `handler` from now on; null stands for standard error. After the return the
// previous handler is not called any more, and its context may be freed.
LIBCONFIG_API void SetMessageHandler(MessageHandler handler, void* context);

LIBCONFIG_API void SilenceMessages();

// The rest is the library's own; it is not exported. All leave errno as it was.

// One message: a caller that wants a line end gives one.
void Report(const char* format, ...) __attribute__((format(printf, 1, 2)));
void ReportV(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));

// Reports `text`, a colon, the text of errno and a line end, as perror does.
void ReportErrno(const char* text);

}  // namespace qel::config
