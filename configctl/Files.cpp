#include "configctl/Files.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "configctl/Failure.h"
#include "libconfig/base/FileIO.h"
#include "programs/Text.h"

using qel::config::FileDescriptor;

namespace configctl {
namespace {

constexpr mode_t kPermissions = 07777;
constexpr mode_t kUsual = 0666;
constexpr mode_t kOwner = 0600;

// What ends the program while a file is being written; 0 for nothing.
std::atomic<int> heldSignal{0};

// Holds back the signals by which users and the system end a program, whichever thread gets them,
// so that no half of a file is left. What has come takes effect when this goes.
class EndHeldBack {
 public:
  EndHeldBack() {
    struct sigaction hold = {};
    hold.sa_handler = [](int signal) { heldSignal = signal; };
    hold.sa_flags = SA_RESTART;
    for (Held& held : _held) {
      ::sigaction(held.signal, nullptr, &held.before);
      // One that is ignored, as under nohup, stays so.
      if (held.before.sa_handler == SIG_DFL) ::sigaction(held.signal, &hold, nullptr);
    }
  }
  ~EndHeldBack() {
    for (const Held& held : _held) ::sigaction(held.signal, &held.before, nullptr);
    if (HasCome()) ::raise(heldSignal);
  }
  EndHeldBack(const EndHeldBack&) = delete;
  EndHeldBack& operator=(const EndHeldBack&) = delete;

  bool HasCome() const { return heldSignal != 0; }

 private:
  struct Held {
    int signal;
    struct sigaction before;
  };
  Held _held[3] = {{SIGINT, {}}, {SIGTERM, {}}, {SIGHUP, {}}};
};

constexpr char kNext[] = "fix this, or name another file";

// With the system's reason, which errno holds.
Failure Cannot(const char* what, const std::string& path, const char* next) {
  return {Status::kRefused, std::string("cannot ") + what + " " + FileText(path) + ": " +
                                std::strerror(errno) + "; " + next};
}

Failure CannotWrite(const std::string& path) { return Cannot("write", path, kNext); }

// A path as the folder and the name in it.
struct Destination {
  explicit Destination(const std::string& path)
      : name(path.substr(path.rfind('/') + 1)),
        folder(
            ::open(name.size() == path.size() ? "." : path.substr(0, path.rfind('/') + 1).c_str(),
                   O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

  const std::string name;
  const FileDescriptor folder;
};

mode_t Umask() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return mask;
}

// A new file beside `target`, on the disk. Returns its name; empty, and nothing is left, when that
// failed.
std::string WriteBeside(const Destination& target, const std::string& content, mode_t mode) {
  std::random_device random;
  std::string name = target.name + "." + std::to_string(random()) + ".new";
  const FileDescriptor file(::openat(target.folder.Get(), name.c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwner));
  if (file.Get() < 0) return {};
  if (qel::config::WriteWhole(file.Get(), content.data(), content.size()) &&
      ::fchmod(file.Get(), mode) == 0 && ::fsync(file.Get()) == 0) {
    return name;
  }
  const int error = errno;
  ::unlinkat(target.folder.Get(), name.c_str(), 0);
  errno = error;
  return {};
}

}  // namespace

std::string FileText(const std::string& path) {
  return path == "-" ? "standard input" : programs::Quote(path);
}

std::string FollowLinks(const std::string& path) {
  char* const resolved = ::realpath(path.c_str(), nullptr);
  if (resolved == nullptr) return path;
  std::string target = resolved;
  std::free(resolved);
  return target;
}

std::string ReadFile(const std::string& path, std::size_t limit, double timeout) {
  const bool standard = path == "-";
  // A pipe that nobody writes is opened all the same.
  const FileDescriptor file(standard ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)
                                     : ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (file.Get() < 0) throw Cannot("read", path, kNext);
  const int patience =
      ::isatty(file.Get()) == 1 ? -1 : static_cast<int>(std::min(timeout * 1000, 1e9));
  std::string content;
  char piece[65536];
  while (content.size() <= limit) {
    pollfd ready = {file.Get(), POLLIN, 0};
    const int polled = ::poll(&ready, 1, patience);
    if (polled == 0) {
      throw Failure(Status::kTimeout, "nothing came from " + FileText(path) +
                                          " in time; have it written, or give it longer with "
                                          "--timeout");
    }
    const ssize_t count = polled < 0 ? -1 : ::read(file.Get(), piece, sizeof piece);
    if (count == 0) return content;
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count < 0) throw Cannot("read", path, kNext);
    content.append(piece, static_cast<std::size_t>(count));
  }
  throw Failure(Status::kRefused, FileText(path) + " has more than " + std::to_string(limit) +
                                      " bytes, and so is no file of this kind; name another");
}

void ReplaceFile(const std::string& path, const std::string& content, Readers readers) {
  const Destination target(path);
  if (target.folder.Get() < 0) throw CannotWrite(path);
  mode_t mode = kUsual & ~Umask();
  struct stat before = {};
  // A link to a device, such as /dev/stdout, is not replaced either.
  if (::fstatat(target.folder.Get(), target.name.c_str(), &before, 0) == 0 &&
      !S_ISREG(before.st_mode)) {
    throw Failure(Status::kRefused, programs::Quote(path) +
                                        " is no regular file, and nothing was written; name "
                                        "another file");
  }
  if (::fstatat(target.folder.Get(), target.name.c_str(), &before, AT_SYMLINK_NOFOLLOW) == 0 &&
      S_ISREG(before.st_mode)) {
    mode = before.st_mode & kPermissions;
  }
  if (readers == Readers::kOwnerOnly) mode &= kOwner;

  const EndHeldBack end;
  const std::string beside = WriteBeside(target, content, mode);
  if (beside.empty()) throw CannotWrite(path);
  if (end.HasCome()) {
    ::unlinkat(target.folder.Get(), beside.c_str(), 0);
    return;  // no further than to the end of `end`
  }
  if (::renameat(target.folder.Get(), beside.c_str(), target.folder.Get(), target.name.c_str()) !=
      0) {
    const Failure failure = CannotWrite(path);
    ::unlinkat(target.folder.Get(), beside.c_str(), 0);
    throw failure;
  }
  ::fsync(target.folder.Get());
}

}  // namespace configctl
