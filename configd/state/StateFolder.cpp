#include "configd/state/StateFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>

#include "configd/LineWriter.h"
#include "libconfig/base/FileIO.h"
#include "libconfig/base/Limits.h"

using qel::config::FileDescriptor;
using qel::config::MutexLock;
using qel::config::limits::kPresetFile;

namespace {

constexpr char kSettings[] = "config-";
constexpr char kPreset[] = "preset-";

// Of the quota, for the device's own configuration alone.
constexpr std::uint64_t kOwnRoom = std::uint64_t{16} * 1024 * 1024;

// Until the folder at the path is the one that is locked.
constexpr int kLockAttempts = 3;

int SyncFolder(const std::string& folder) {
  const FileDescriptor fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.Get() < 0) return errno;
  return ::fsync(fd.Get()) == 0 ? 0 : errno;
}

// Takes over `fd`, which may be -1 with errno set.
int WriteSynced(int fd, const std::vector<char>& bytes) {
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

bool StateFolder::Hold(unsigned& number, std::string& why) const {
  MutexLock lock(_mutex);
  constexpr char kAnother[] = "; choose another with --state, or --no-state for none";
  for (int i = 0; i < kLockAttempts; ++i) {
    struct stat held;
    struct stat there;
    if (_fd >= 0 && ::fstat(_fd, &held) == 0 && ::stat(_path.c_str(), &there) == 0 &&
        held.st_dev == there.st_dev && held.st_ino == there.st_ino) {
      number = _number;
      return true;
    }
    const int fd = ::open(_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
      why = "cannot open the folder " + _path + ": " + std::strerror(errno) + kAnother;
      return false;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
      ::close(fd);
      why = "another configd keeps its settings in " + _path +
            "; stop it, or choose another folder with --state";
      return false;
    }
    if (!MakeSafe(fd, _path, why)) {
      ::close(fd);
      return false;
    }
    if (_fd >= 0) ::close(_fd);
    _fd = fd;
    ++_number;
  }
  why = "the folder " + _path + " is replaced over and over" + kAnother;
  return false;
}

// What is in it is the device's, and nobody else may slip anything in.
bool StateFolder::MakeSafe(int fd, const std::string& path, std::string& why) {
  struct stat status;
  if (::fstat(fd, &status) != 0 || (status.st_uid != ::geteuid() && status.st_uid != 0)) {
    why = "the folder " + path + " belongs to another user; choose one of your own with --state";
    return false;
  }
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) == 0) return true;
  if (::fchmod(fd, status.st_mode & 07777 & ~(S_IWGRP | S_IWOTH)) != 0) {
    why = "others may write into the folder " + path +
          "; take that from them (chmod go-w), or choose another with --state";
    return false;
  }
  LineWriter::Instance().Write("configd: others could write into " + path +
                               "; that was taken from them");
  return true;
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
  unsigned number = 0;
  return Hold(number, why);
}

bool StateFolder::HasRoom(std::size_t size, bool own, std::string& why) const {
  std::uint64_t used = 0;
  // Not with std::filesystem, whose iterators end the process where there is no memory. What cannot
  // be counted stands against no setting.
  if (DIR* const files = ::opendir(_path.c_str())) {
    while (const dirent* const entry = ::readdir(files)) {
      struct stat status;
      if (::fstatat(::dirfd(files), entry->d_name, &status, 0) == 0 && S_ISREG(status.st_mode)) {
        used += static_cast<std::uint64_t>(status.st_size);
      }
    }
    ::closedir(files);
  }
  const std::uint64_t room = own ? _quota : _quota - std::min(_quota / 4, kOwnRoom);
  if (used + size <= room) return true;
  why = _path + " holds " + std::to_string(used / 1024) +
        " KiB, and more is not allowed; remove what is not needed from it, or allow more with "
        "--state-quota";
  return false;
}

bool StateFolder::Replace(const std::string& path, const std::vector<char>& bytes, bool own,
                          std::string& why) const {
  if (!HasRoom(bytes.size(), own, why)) return false;
  const std::string fresh = path + ".new";
  // What is there was left by a daemon that was killed, or put there by others.
  ::unlink(fresh.c_str());
  // More than that could not be read again.
  int error =
      bytes.size() > kPresetFile
          ? EFBIG
          : WriteSynced(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600),
                        bytes);
  if (error == 0 && ::rename(fresh.c_str(), path.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(fresh.c_str());
  } else {
    error = SyncFolder(_path);
  }
  if (error != 0) why = fresh + ": " + std::strerror(error);
  return error == 0;
}

bool StateFolder::IsWritable() const { return ::access(_path.c_str(), W_OK) == 0; }

Banks StateFolder::SettingsOf(eConfigID_t configID) const {
  return Banks(*this, kSettings + std::to_string(configID), configID);
}

Banks StateFolder::PresetOf(eConfigID_t configID, unsigned int number) const {
  return Banks(*this, kPreset + std::to_string(configID) + "-" + std::to_string(number), configID);
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

int WriteNewFile(const std::string& path, const std::vector<char>& bytes) {
  const int fd = qel::config::CreateInPlaceOfOwn(path.c_str(), O_WRONLY, 0600);
  const int error = WriteSynced(fd, bytes);
  if (fd >= 0 && error != 0) ::unlink(path.c_str());
  return error;
}
