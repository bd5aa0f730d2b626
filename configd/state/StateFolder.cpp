#include "configd/state/StateFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>

#include "libconfig/base/FileIO.h"
#include "libconfig/base/Limits.h"

using qel::config::FileDescriptor;
using qel::config::limits::kPresetFile;

namespace {

constexpr char kSettings[] = "config-";
constexpr char kPreset[] = "preset-";

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

StateFolder::~StateFolder() {
  if (_fd >= 0) ::close(_fd);
}

bool StateFolder::Open(const std::string& path, std::string& why) {
  std::error_code error;
  if (!std::filesystem::is_directory(path, error)) {
    std::filesystem::create_directories(path, error);
    // The settings of a device are its operator's.
    if (!error) std::filesystem::permissions(path, std::filesystem::perms::owner_all, error);
    if (error) {
      why = "cannot make the folder " + path + ": " + error.message() +
            "; choose another with --state, or --no-state for none";
      return false;
    }
  }
  _path = path;
  _fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (_fd < 0) {
    why = "cannot open the folder " + path + ": " + std::strerror(errno) +
          "; choose another with --state, or --no-state for none";
    return false;
  }
  if (::flock(_fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    why = "another configd keeps its settings in " + path +
          "; stop it, or choose another folder with --state";
    return false;
  }
  return true;
}

bool StateFolder::IsWritable() const { return ::access(_path.c_str(), W_OK) == 0; }

Banks StateFolder::SettingsOf(eConfigID_t configID) const {
  return Banks(_path, kSettings + std::to_string(configID));
}

Banks StateFolder::PresetOf(eConfigID_t configID, unsigned int number) const {
  return Banks(_path, kPreset + std::to_string(configID) + "-" + std::to_string(number));
}

std::set<eConfigID_t> StateFolder::GetConfigurations() const {
  std::set<eConfigID_t> found;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(_path, error)) {
    const std::string name = entry.path().filename();
    if (name.rfind(kSettings, 0) != 0) continue;
    int number = 0;
    const char* const begin = name.data() + std::strlen(kSettings);
    const auto parsed = std::from_chars(begin, name.data() + name.size(), number);
    if (parsed.ec == std::errc()) found.insert(static_cast<eConfigID_t>(number));
  }
  return found;
}

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
