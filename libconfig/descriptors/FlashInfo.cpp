#include "libconfig/descriptors/FlashInfo.h"

#include <new>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/FileIO.h"
#include "libconfig/base/Limits.h"
#include "libconfig/descriptors/Catalogue.h"

namespace qel::config {

std::string ReadFlashInfo(const char* path) {
  const FileDescriptor file(OpenRegular(path, O_RDONLY, 0, Links::kFollow));
  if (file.Get() < 0) {
    if (errno == EINVAL) Report("::read_file - read failed to read enough data\n");
    return "";
  }
  struct stat status;
  if (::fstat(file.Get(), &status) != 0) {
    Report("::read_file - fstat failed\n");
    return "";
  }
  const auto size = static_cast<unsigned long long>(status.st_size);
  std::string text;
  try {
    if (size > limits::kFlashInfo) throw std::bad_alloc();
    text.resize(static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    Report("::read_file - malloc failed\n");
    return "";
  }
  if (!ReadWhole(file.Get(), text.data(), text.size())) {
    Report("::read_file - read failed to read enough data\n");
    return "";
  }
  return text;
}

}  // namespace qel::config

std::string GetFlashInfo() { return qel::config::ReadFlashInfo("/var/www/flash_info.txt"); }
