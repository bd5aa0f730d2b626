// Writes lines on a thread of its own, so that a slow terminal, pipe or journal delays nobody
// else. Lines are written in their order, those that wait
// together; unless a person watches, at most every 100 ms. What does not fit is counted, and the
// count is written instead. Any thread.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <string>

#include "libconfig/base/Worker.h"

class LineWriter {
 public:
  // To standard output. Never destroyed: listeners of stores write until the process ends.
  static LineWriter& Instance();

  // The descriptor stays the caller's.
  explicit LineWriter(int fd);
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  // A line has no line end.
  void Write(std::string line);
  // A line that takes time to make: `make` is called on the writer's thread.
  void Write(std::function<std::string()> make);

  // Waits until everything is out, or the time has passed.
  void Flush(std::chrono::milliseconds limit);

 private:
  using Lines = std::deque<std::function<std::string()>>;
  using Worker = qel::config::Worker;

  void WriteWaiting();

  const int _fd;
  const Worker::Clock::duration _pause;  // from one write to the next
  qel::config::Mutex _mutex;
  qel::config::Condition _written;
  Lines _lines LIBCONFIG_GUARDED_BY(_mutex);
  unsigned long _lost LIBCONFIG_GUARDED_BY(_mutex) = 0;
  bool _writing LIBCONFIG_GUARDED_BY(_mutex) = false;
  Worker::Clock::time_point _next LIBCONFIG_GUARDED_BY(_mutex);  // when to write again
  Worker _worker{[this] { WriteWaiting(); }};
};
