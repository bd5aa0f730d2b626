#include "configd/LineWriter.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "libconfig/libconfig.h"
#include "programs/Text.h"

using qel::config::MutexLock;

namespace {

constexpr std::size_t kWaitingLines = 10000;
// Beyond them, for the daemon's own.
constexpr std::size_t kReserve = 1000;
constexpr std::chrono::milliseconds kPause(100);

constexpr unsigned kBurst = 100;
constexpr std::chrono::milliseconds kPerLine(100);
constexpr std::chrono::milliseconds kTellLeftOut(1000);
constexpr std::size_t kBeginning = 60;
constexpr std::size_t kLongestMessage = 1000;

// False when nobody reads any more.
bool WriteSome(int fd, const char*& text, std::size_t& size) {
  const ssize_t count = ::write(fd, text, size);
  if (count >= 0) {
    text += count;
    size -= static_cast<std::size_t>(count);
    return true;
  }
  if (errno == EINTR) return true;
  if (errno != EAGAIN) return false;
  pollfd writable = {fd, POLLOUT, 0};
  ::poll(&writable, 1, -1);
  return true;
}

std::string BeginningOf(const std::string& line) {
  return line.substr(0, std::min(line.find_first_of("0123456789\""), kBeginning));
}

}  // namespace

LineWriter& LineWriter::Instance() {
  static auto* const writer = new LineWriter(STDOUT_FILENO, "changes");
  return *writer;
}

LineWriter& LineWriter::Errors() {
  static auto* const writer = new LineWriter(STDERR_FILENO, "messages");
  return *writer;
}

LineWriter::LineWriter(int fd, const char* what)
    : _fd(fd), _what(what), _pause(::isatty(fd) == 1 ? Worker::Clock::duration::zero() : kPause) {}

void LineWriter::CountLost() noexcept {
  MutexLock lock(_mutex);
  ++_lost;
  _worker.WakeAt(_next);
}

void LineWriter::Enqueue(std::function<std::string()> make, std::size_t room) noexcept {
  MutexLock lock(_mutex);
  try {
    if (_lines.size() < room) {
      _lines.push_back(std::move(make));
    } else {
      ++_lost;
    }
  } catch (const std::bad_alloc&) {
    ++_lost;
  }
  _worker.WakeAt(_next);
}

void LineWriter::Write(std::string line) noexcept {
  try {
    Enqueue([line = std::move(line)] { return line; }, kWaitingLines + kReserve);
  } catch (const std::bad_alloc&) {
    CountLost();
  }
}

void LineWriter::Write(std::function<std::string()> make) noexcept {
  Enqueue(std::move(make), kWaitingLines);
}

LineWriter::Kind& LineWriter::KindOf(const std::string& line) {
  std::string beginning = BeginningOf(line);
  const auto now = Worker::Clock::now();
  Kind* unused = &_kinds.back();
  for (Kind& kind : _kinds) {
    if (kind.beginning == beginning) return kind;
    // It would have all its lines again.
    if (kind.leftOut == 0 && kind.filled + kBurst * kPerLine <= now) unused = &kind;
  }
  if (unused != &_kinds.back() || unused->beginning.empty()) {
    unused->beginning = std::move(beginning);
    unused->tokens = kBurst;
    unused->filled = now;
  }
  return *unused;
}

bool LineWriter::Admit(Kind& kind) {
  const auto now = Worker::Clock::now();
  const auto gained = (now - kind.filled) / kPerLine;
  if (gained > 0) {
    kind.tokens = static_cast<unsigned>(std::min<long long>(kBurst, kind.tokens + gained));
    kind.filled += gained * kPerLine;
  }
  if (kind.tokens == 0) return false;
  --kind.tokens;
  return true;
}

void LineWriter::WriteLimited(const std::string& line) noexcept {
  try {
    {
      MutexLock lock(_mutex);
      Kind& kind = KindOf(line);
      if (!Admit(kind)) {
        ++kind.leftOut;
        _worker.WakeAt(std::max(_nextTold, Worker::Clock::now() + kPause));
        return;
      }
    }
    Enqueue([line] { return line; }, kWaitingLines);
  } catch (const std::bad_alloc&) {
    CountLost();
  }
}

bool LineWriter::HasLeftOut() const {
  return std::any_of(_kinds.begin(), _kinds.end(),
                     [](const Kind& kind) { return kind.leftOut > 0; });
}

void LineWriter::Flush(std::chrono::milliseconds limit) {
  const auto deadline = Worker::Clock::now() + limit;
  MutexLock lock(_mutex);
  _nextTold = {};
  _worker.Wake();
  while ((!_lines.empty() || _writing || HasLeftOut()) && _written.WaitUntil(_mutex, deadline)) {
  }
}

// Once a second.
void LineWriter::TellLeftOut() {
  MutexLock lock(_mutex);
  if (!HasLeftOut()) return;
  const auto now = Worker::Clock::now();
  if (now < _nextTold) {
    _worker.WakeAt(_nextTold);
    return;
  }
  _nextTold = now + kTellLeftOut;
  for (Kind& kind : _kinds) {
    if (kind.leftOut == 0) continue;
    _lines.emplace_back([count = kind.leftOut, beginning = kind.beginning] {
      return "configd: " + std::to_string(count) + " more were left out that begin with " +
             programs::Quote(beginning);
    });
    kind.leftOut = 0;
  }
}

void LineWriter::WriteWaiting() {
  struct Round {
    explicit Round(LineWriter& owner) : writer(owner) {}
    // Whatever of it was not made is lost.
    ~Round() {
      MutexLock lock(writer._mutex);
      writer._lost += lost;
      writer._writing = false;
      writer._written.Broadcast();
    }
    LineWriter& writer;
    Lines lines;
    unsigned long lost = 0;
  };
  Round round(*this);
  TellLeftOut();
  unsigned long lost;
  {
    MutexLock lock(_mutex);
    round.lines.swap(_lines);
    lost = std::exchange(_lost, 0);
    round.lost = lost + round.lines.size();
    _writing = true;
    _next = Worker::Clock::now() + _pause;
  }
  std::string text;
  for (const auto& make : round.lines) {
    try {
      text += make() + "\n";
    } catch (const std::bad_alloc&) {
      ++lost;
    }
  }
  if (lost > 0) {
    text += "configd: " + std::to_string(lost) + " " + _what +
            " are missing here, as they came faster than they could be printed\n";
  }
  round.lost = 0;
  const char* rest = text.data();
  std::size_t size = text.size();
  while (size > 0 && WriteSome(_fd, rest, size)) {
  }
}

void SendLibraryMessagesToErrors() {
  LineWriter::Errors();  // its thread is started here, where a failure can be reported
  qel::config::SetMessageHandler(
      [](void*, const char* text, std::size_t length) {
        LineWriter& errors = LineWriter::Errors();
        try {
          std::string message(text, std::min(length, kLongestMessage));
          while (!message.empty() && message.back() == '\n') message.pop_back();
          errors.WriteLimited(programs::Escape(message));
        } catch (const std::bad_alloc&) {
          errors.CountLost();
        }
      },
      nullptr);
}

void Complain(const std::string& line) {
  LineWriter::Errors().Write(line);
  LineWriter::Errors().Flush(std::chrono::milliseconds(500));
}
