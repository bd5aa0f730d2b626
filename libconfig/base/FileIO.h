// Files as the library and the daemon open them: files that somebody else may have prepared.
// Internal; inline, as the shared library does not export it and the daemon uses it too.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace qel::config {

// Owns a descriptor, which may be -1 for none. Closing leaves errno as it was.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : _fd(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (_fd < 0) return;
    const int error = errno;
    ::close(_fd);
    errno = error;
  }

  int Get() const { return _fd; }

 private:
  const int _fd;
};

enum class Links { kRefuse, kFollow };

// A descriptor of a regular file; -1 with errno set for anything else, EINVAL for a pipe or a
// device, which neither blocks nor is touched. Follow links only where nobody but root can put one.
inline int OpenRegular(const char* path, int flags, mode_t mode = 0, Links links = Links::kRefuse) {
  // Truncated only once it is known for what it is.
  const int safe = (flags & ~O_TRUNC) | (links == Links::kRefuse ? O_NOFOLLOW : 0);
  int fd;
  do {
    fd = ::open(path, safe | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return -1;
  struct stat status;
  if (::fstat(fd, &status) == 0) {
    if (S_ISREG(status.st_mode)) {
      if ((flags & O_TRUNC) == 0 || ::ftruncate(fd, 0) == 0) return fd;
    } else {
      errno = EINVAL;
    }
  }
  const FileDescriptor closing(fd);
  return -1;
}

// A new file at `path`, open for writing, in a folder where others may have put something in its
// place: a regular file of the caller's own is removed first. -1 with errno set for anything else
// that is there: a link, a folder, what belongs to another.
inline int CreateInPlaceOfOwn(const char* path, int flags, mode_t mode) {
  struct stat there;
  if (::lstat(path, &there) == 0) {
    const bool own = there.st_uid == ::geteuid();
    if (!S_ISREG(there.st_mode) || !own) {
      errno = S_ISLNK(there.st_mode) ? ELOOP : S_ISDIR(there.st_mode) ? EISDIR : EEXIST;
      return -1;
    }
    if (::unlink(path) != 0 && errno != ENOENT) return -1;
  } else if (errno != ENOENT) {
    return -1;
  }
  return ::open(path, flags | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
}

// Repeats transfer(done) until `size` bytes are through. False, with errno set, when that cannot be
// had; a transfer that ends early is EIO.
template <typename Transfer>
bool TransferWhole(std::size_t size, Transfer transfer) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t count = transfer(done);
    if (count < 0 && errno == EINTR) continue;
    if (count == 0) errno = EIO;
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

inline bool ReadWhole(int fd, char* data, std::size_t size) {
  return TransferWhole(size,
                       [&](std::size_t done) { return ::read(fd, data + done, size - done); });
}

inline bool WriteWhole(int fd, const char* data, std::size_t size) {
  return TransferWhole(size,
                       [&](std::size_t done) { return ::write(fd, data + done, size - done); });
}

}  // namespace qel::config
