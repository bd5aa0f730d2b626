#include "configctl/Console.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "configctl/Failure.h"
#include "programs/Text.h"

using qel::config::MutexLock;

namespace configctl {
namespace {

constexpr int kDefaultWidth = 80;
constexpr int kNarrowest = 40;

// A copy that later descriptors do not collide with; -1 when there is nothing to copy.
int Copy(int fd) { return ::fcntl(fd, F_DUPFD_CLOEXEC, 3); }

}  // namespace

Console& Console::Instance() {
  static auto* const instance = new Console;
  return *instance;
}

void Console::Take(bool verbose) {
  ::signal(SIGPIPE, SIG_IGN);
  _out = Copy(STDOUT_FILENO);
  _err = Copy(STDERR_FILENO);
  const int rest = verbose && _err >= 0 ? Copy(_err) : ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (rest < 0) return;
  ::dup2(rest, STDOUT_FILENO);
  ::dup2(rest, STDERR_FILENO);
  if (rest > STDERR_FILENO) ::close(rest);
}

bool Console::Write(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(fd, text.data() + done, text.size() - done);
    if (count >= 0) {
      done += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

void Console::ShowProgress(const std::string& text) {
  if (::isatty(_err) != 1) return;
  MutexLock lock(_mutex);
  ClearProgress();
  _showsProgress = Write(_err, text);
}

void Console::ClearProgress() {
  if (_showsProgress) Write(_err, "\r\x1b[K");
  _showsProgress = false;
}

void Console::Print(const std::string& lines) {
  MutexLock lock(_mutex);
  ClearProgress();
  if (_problem == 0 && !Write(_out, lines + "\n")) _problem = errno;
}

int Console::End(int status) {
  const int problem = _problem.exchange(EPIPE);  // told once
  if (problem == 0 || problem == EPIPE) return status;
  const bool isDone = status == static_cast<int>(Status::kDone);
  Say(std::string("cannot write the output: ") + std::strerror(problem) +
      (isDone ? "; all else is done" : "") + "; make room, or send it elsewhere");
  return isDone ? static_cast<int>(Status::kRefused) : status;
}

void Console::Say(const std::string& message) {
  MutexLock lock(_mutex);
  ClearProgress();
  Write(_err, "configctl: " + programs::Escape(message) + "\n");
}

bool Console::IsTerminal() const { return ::isatty(_out) == 1; }

bool Console::ReaderIsGone() const {
  if (_problem != 0) return true;
  pollfd out = {_out, 0, 0};
  return ::poll(&out, 1, 0) == 1 && (out.revents & (POLLERR | POLLHUP)) != 0;
}

int Console::GetWidth() const {
  winsize size = {};
  if (::ioctl(_out, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kDefaultWidth;
  return std::max<int>(size.ws_col, kNarrowest);
}

}  // namespace configctl
