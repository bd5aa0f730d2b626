#include "tests/configd/FailingCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace testing_support {
namespace {

// Of the test's thread: the writer of lines, which runs beside it, never fails.
thread_local int g_index = -1;
thread_local int g_count = 0;
thread_local Failure g_failure = Failure::kError;

// Whether the caller is to fail.
bool Fails() {
  if (g_index < 0 || g_count++ != g_index) return false;
  if (g_failure != Failure::kError) ::_exit(kDied);
  errno = EIO;
  return true;
}

}  // namespace

void FailCall(int index, Failure failure) {
  g_index = index;
  g_count = 0;
  g_failure = failure;
}

int GetCallCount() { return g_count; }

}  // namespace testing_support

using testing_support::Fails;
using testing_support::Failure;

#ifdef LARGE_FILE_CALLS
#define __real_open __real_open64
#define __wrap_open __wrap_open64
#define __real_ftruncate __real_ftruncate64
#define __wrap_ftruncate __wrap_ftruncate64
#endif

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_ftruncate(int fd, off_t size);
ssize_t __real_write(int fd, const void* data, size_t size);
int __real_fsync(int fd);
int __real_close(int fd);
int __real_rename(const char* from, const char* to);

// Visible, as the linker lets the libraries' calls come here too.
#pragma GCC visibility push(default)
int __wrap_open(const char* path, int flags, ...);
int __wrap_ftruncate(int fd, off_t size);
ssize_t __wrap_write(int fd, const void* data, size_t size);
int __wrap_fsync(int fd);
int __wrap_close(int fd);
int __wrap_rename(const char* from, const char* to);
#pragma GCC visibility pop

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0);
  va_end(arguments);
  return Fails() ? -1 : __real_open(path, flags, mode);
}

int __wrap_ftruncate(int fd, off_t size) { return Fails() ? -1 : __real_ftruncate(fd, size); }

ssize_t __wrap_write(int fd, const void* data, size_t size) {
  if (testing_support::g_failure == Failure::kTorn &&
      testing_support::g_count == testing_support::g_index) {
    static_cast<void>(__real_write(fd, data, size / 2));
  }
  return Fails() ? -1 : __real_write(fd, data, size);
}

int __wrap_fsync(int fd) { return Fails() ? -1 : __real_fsync(fd); }

int __wrap_close(int fd) {
  const bool fails = Fails();
  // The descriptor is gone either way.
  const int result = __real_close(fd);
  if (!fails) return result;
  errno = EIO;
  return -1;
}

int __wrap_rename(const char* from, const char* to) {
  return Fails() ? -1 : __real_rename(from, to);
}

}  // extern "C"
