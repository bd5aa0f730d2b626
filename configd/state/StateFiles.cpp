#include "configd/state/StateFiles.h"

#include <cerrno>
#include <cstdio>
#include <new>

#include "libconfig/base/FileIO.h"
#include "libconfig/base/Limits.h"

using qel::config::FileDescriptor;
using qel::config::limits::kPresetFile;

namespace {

int SyncFolder(const std::string& folder) {
  const FileDescriptor fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.Get() < 0) return errno;
  return ::fsync(fd.Get()) == 0 ? 0 : errno;
}

int WriteSynced(const std::string& path, int flags, const std::vector<char>& bytes) {
  const int fd = qel::config::OpenRegular(path.c_str(), O_WRONLY | O_CREAT | flags, 0600);
  if (fd < 0) return errno;
  int error = 0;
  if (!qel::config::WriteWhole(fd, bytes.data(), bytes.size()) || ::fsync(fd) != 0) error = errno;
  // Some file systems tell only here that there was no space.
  if (::close(fd) != 0 && errno != EINTR && error == 0) error = errno;
  return error;
}

}  // namespace

int ReadStateFile(const std::string& path, std::vector<char>& bytes) {
  const FileDescriptor file(qel::config::OpenRegular(path.c_str(), O_RDONLY));
  if (file.Get() < 0) return errno;
  struct stat status;
  if (::fstat(file.Get(), &status) != 0) return errno;
  if (status.st_size > static_cast<off_t>(kPresetFile)) return EFBIG;
  try {
    bytes.resize(static_cast<std::size_t>(status.st_size));
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
  return qel::config::ReadWhole(file.Get(), bytes.data(), bytes.size()) ? 0 : errno;
}

int ReplaceStateFile(const std::string& folder, const std::string& path,
                     const std::vector<char>& bytes) {
  // It could not be read again.
  if (bytes.size() > kPresetFile) return EFBIG;
  const std::string fresh = path + ".new";
  int error = WriteSynced(fresh, O_TRUNC, bytes);
  if (error == 0 && ::rename(fresh.c_str(), path.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(fresh.c_str());
    return error;
  }
  return SyncFolder(folder);
}

int WriteNewFile(const std::string& path, const std::vector<char>& bytes) {
  ::unlink(path.c_str());
  const int error = WriteSynced(path, O_EXCL, bytes);
  if (error != 0 && error != EEXIST) ::unlink(path.c_str());
  return error;
}
