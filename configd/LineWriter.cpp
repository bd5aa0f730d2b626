#include "configd/LineWriter.h"

#include <unistd.h>

#include <cerrno>

using qel::config::MutexLock;

namespace {

constexpr std::size_t kWaitingLines = 10000;
constexpr std::chrono::milliseconds kPause(100);

void WriteWhole(int fd, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = ::write(fd, text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) return;  // nobody reads any more
    if (count > 0) written += static_cast<std::size_t>(count);
  }
}

}  // namespace

LineWriter& LineWriter::Instance() {
  static auto* const writer = new LineWriter(STDOUT_FILENO);
  return *writer;
}

LineWriter::LineWriter(int fd)
    : _fd(fd), _pause(::isatty(fd) == 1 ? Worker::Clock::duration::zero() : kPause) {}

void LineWriter::Write(std::string line) {
  Write([line = std::move(line)] { return line; });
}

void LineWriter::Write(std::function<std::string()> make) {
  MutexLock lock(_mutex);
  if (_lines.size() >= kWaitingLines) {
    ++_lost;
    return;
  }
  _lines.push_back(std::move(make));
  _worker.WakeAt(_next);
}

void LineWriter::Flush(std::chrono::milliseconds limit) {
  const auto deadline = Worker::Clock::now() + limit;
  _worker.Wake();
  MutexLock lock(_mutex);
  while ((!_lines.empty() || _writing) && _written.WaitUntil(_mutex, deadline)) {
  }
}

void LineWriter::WriteWaiting() {
  Lines lines;
  unsigned long lost;
  {
    MutexLock lock(_mutex);
    lines.swap(_lines);
    lost = std::exchange(_lost, 0);
    _writing = true;
    _next = Worker::Clock::now() + _pause;
  }
  std::string text;
  for (const auto& make : lines) {
    try {
      text += make() + "\n";
    } catch (const std::bad_alloc&) {
      ++lost;
    }
  }
  if (lost > 0) {
    text += "configd: " + std::to_string(lost) +
            " changes are missing here, as they came faster than they could be printed\n";
  }
  WriteWhole(_fd, text);
  MutexLock lock(_mutex);
  _writing = false;
  _written.Broadcast();
}
