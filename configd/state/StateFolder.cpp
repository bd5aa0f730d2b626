#include "configd/state/StateFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>

namespace {

constexpr char kSettings[] = "config-";
constexpr char kPreset[] = "preset-";

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
