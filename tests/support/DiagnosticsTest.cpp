// Where the library's messages go.

#include <cerrno>

#include "libconfig/base/Diagnostics.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

namespace {

using qel::config::Report;
using qel::config::SetMessageHandler;

void Append(void* text, const char* message, std::size_t length) {
  EXPECT_EQ(length, std::string(message).size());
  *static_cast<std::string*>(text) += message;
  errno = EIO;
}

TEST(Diagnostics, GoToTheHandlerOrNowhereOrToStandardError) {
  std::string text;
  CaptureStderr();
  SetMessageHandler(&Append, &text);
  errno = ENOENT;
  Report("%s\n", std::string(600, 'x').c_str());
  qel::config::ReportErrno("open");
  EXPECT_EQ(std::string(600, 'x') + "\nopen: No such file or directory\n", text);
  EXPECT_EQ(ENOENT, errno);
  qel::config::SilenceMessages();
  Report("silent\n");
  SetMessageHandler(nullptr, nullptr);
  Report("loud\n");
  EXPECT_EQ("loud\n", GetCapturedStderr());
}

struct Listener {
  std::atomic<bool> gone{false};
  std::atomic<int> calls{0};
  std::atomic<int> late{0};
};

void Count(void* context, const char*, std::size_t) {
  auto& listener = *static_cast<Listener*>(context);
  ++listener.calls;
  if (listener.gone) ++listener.late;
}

TEST(Diagnostics, CallNoHandlerThatHasBeenReplaced) {
  Listener listeners[300];
  std::atomic<bool> done{false};
  qel::config::SilenceMessages();
  OnThreads(4, [&](int thread) {
    while (thread != 0 && !done) Report("message %d\n", thread);
    if (thread != 0) return;
    for (Listener& listener : listeners) {
      SetMessageHandler(&Count, &listener);
      while (listener.calls == 0) std::this_thread::yield();
      qel::config::SilenceMessages();
      listener.gone = true;
    }
    done = true;
  });
  SetMessageHandler(nullptr, nullptr);
  for (const Listener& listener : listeners) EXPECT_EQ(0, listener.late);
}

}  // namespace
