#include "configd/LineWriter.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace {

constexpr std::size_t kWaitingLines = 10000;

void WriteWhole(const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = ::write(STDOUT_FILENO, text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) return;  // nobody reads any more
    if (count > 0) written += static_cast<std::size_t>(count);
  }
}

}  // namespace

LineWriter& LineWriter::Instance() {
  static auto* const writer = new LineWriter;
  return *writer;
}

LineWriter::LineWriter() {
  sigset_t all;
  sigset_t before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread([this] { Run(); }).detach();
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void LineWriter::Write(std::string line) {
  const std::lock_guard<std::mutex> lock(_mutex);
  if (_lines.size() >= kWaitingLines) {
    ++_lost;
    return;
  }
  _lines.push_back(std::move(line));
  _changed.notify_all();
}

void LineWriter::Flush(std::chrono::milliseconds limit) {
  std::unique_lock<std::mutex> lock(_mutex);
  _changed.wait_for(lock, limit, [this] { return _lines.empty() && !_writing; });
}

void LineWriter::Run() {
  std::unique_lock<std::mutex> lock(_mutex);
  for (;;) {
    _changed.wait(lock, [this] { return !_lines.empty(); });
    std::string text;
    for (const std::string& line : _lines) text += line + "\n";
    if (_lost > 0) {
      text += "configd: " + std::to_string(_lost) +
              " changes are missing here, as they came faster than they could be printed\n";
    }
    _lines.clear();
    _lost = 0;
    _writing = true;
    lock.unlock();
    WriteWhole(text);
    lock.lock();
    _writing = false;
    _changed.notify_all();
  }
}
