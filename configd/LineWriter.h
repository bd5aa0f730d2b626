// Writes lines on a thread of its own, so that a slow terminal, pipe or journal delays nobody
// else. Lines are written in their order, those that wait together; unless a person watches, at
// most every 100 ms. What waits is bounded: what does not fit is counted, and the count is written
// instead. Any thread may call; no call waits, and none throws.
#pragma once

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <string>

#include "libconfig/base/Worker.h"

class LineWriter {
 public:
  // Never destroyed: others write until the process ends. To standard output: what the daemon does,
  // and the changes.
  static LineWriter& Instance();
  // To standard error: what fails, and the library's messages.
  static LineWriter& Errors();

  // The descriptor stays the caller's. `what` names the lines when some are missing.
  explicit LineWriter(int fd, const char* what = "changes");
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  // A line of the daemon's own, which has room when others have none: not for what a peer can cause
  // over and over. A line has no line end.
  void Write(std::string line) noexcept;
  // A line that takes time to make: `make` is called on the writer's thread.
  void Write(std::function<std::string()> make) noexcept;
  // A line that a peer may cause: of those that begin alike, up to the first digit or quote, a
  // hundred at once and ten a second are written. The others are counted, and told of as one line.
  void WriteLimited(const std::string& line) noexcept;
  // A change that could not be noted, for want of memory.
  void CountLost() noexcept;

  // Waits until everything is out, or the time has passed.
  void Flush(std::chrono::milliseconds limit);

 private:
  using Lines = std::deque<std::function<std::string()>>;
  using Worker = qel::config::Worker;
  // Lines that begin alike.
  struct Kind {
    std::string beginning;
    unsigned tokens = 0;  // lines that may follow now
    Worker::Clock::time_point filled{};
    unsigned long leftOut = 0;
  };

  void Enqueue(std::function<std::string()> make, std::size_t room) noexcept;
  Kind& KindOf(const std::string& line) LIBCONFIG_REQUIRES(_mutex);
  static bool Admit(Kind& kind);
  bool HasLeftOut() const LIBCONFIG_REQUIRES(_mutex);
  void TellLeftOut();
  void WriteWaiting();

  const int _fd;
  const char* const _what;
  const Worker::Clock::duration _pause;  // from one write to the next
  qel::config::Mutex _mutex;
  qel::config::Condition _written;
  Lines _lines LIBCONFIG_GUARDED_BY(_mutex);
  unsigned long _lost LIBCONFIG_GUARDED_BY(_mutex) = 0;
  // The last one is that of all for which there is no room.
  std::array<Kind, 64> _kinds LIBCONFIG_GUARDED_BY(_mutex);
  Worker::Clock::time_point _nextTold LIBCONFIG_GUARDED_BY(_mutex){};  // of what was left out
  bool _writing LIBCONFIG_GUARDED_BY(_mutex) = false;
  Worker::Clock::time_point _next LIBCONFIG_GUARDED_BY(_mutex);  // when to write again
  Worker _worker{[this] { WriteWaiting(); }};
};

// Sends the library's messages to LineWriter::Errors(), with what could pass for another line
// escaped.
void SendLibraryMessagesToErrors();

// Writes one line to standard error and gives it a moment to get there: for one who is about to
// end.
void Complain(const std::string& line);
