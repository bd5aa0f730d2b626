#include "libconfig/descriptors/FlashInfo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/descriptors/Catalogue.h"

namespace qel::config {
namespace {

ssize_t ReadSome(int fd, char* buffer, size_t length) {
  ssize_t got;
  do {
    got = ::read(fd, buffer, length);
  } while (got < 0 && errno == EINTR);
  return got;
}

std::string ReadOpenFile(int fd) {
  struct stat status;
  if (::fstat(fd, &status) != 0) {
    Report("::read_file - fstat failed\n");
    return "";
  }
  std::string text;
  try {
    text.resize(static_cast<size_t>(status.st_size));
  } catch (const std::exception&) {
    Report("::read_file - malloc failed\n");
    return "";
  }
  size_t filled = 0;
  while (filled < text.size()) {
    const ssize_t got = ReadSome(fd, text.data() + filled, text.size() - filled);
    if (got <= 0) {
      Report("::read_file - read failed to read enough data\n");
      return "";
    }
    filled += static_cast<size_t>(got);
  }
  return text;
}

}  // namespace

std::string ReadFlashInfo(const char* path) {
  const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return "";
  std::string text = ReadOpenFile(fd);
  ::close(fd);
  return text;
}

}  // namespace qel::config

std::string GetFlashInfo() { return qel::config::ReadFlashInfo("/var/www/flash_info.txt"); }
