// Writes lines to standard output on a thread of its own, so that whoever has something to say
// never waits for a terminal, a pipe or a journal that is slow. What does not fit is counted, and
// the count is written instead. Any thread.
#pragma once

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>

class LineWriter {
 public:
  // Never destroyed: listeners of stores write until the process ends.
  static LineWriter& Instance();

  // `line` has no line end.
  void Write(std::string line);

  // Waits until everything is out, or the time has passed.
  void Flush(std::chrono::milliseconds limit);

 private:
  LineWriter();
  void Run();

  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<std::string> _lines;
  unsigned long _lost = 0;
  bool _writing = false;
};
