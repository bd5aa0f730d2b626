// Folders of a test's own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace testing_support {

// A new folder, removed with all that is in it.
class Folder {
 public:
  Folder() : _path((std::filesystem::temp_directory_path() / "libconfig-XXXXXX").string()) {
    EXPECT_NE(nullptr, ::mkdtemp(_path.data()));
  }
  ~Folder() {
    std::error_code error;
    std::filesystem::remove_all(_path, error);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::string& GetPath() const { return _path; }
  std::string operator/(const std::string& name) const { return _path + "/" + name; }

  // Returns the file's path.
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(*this / name, std::ios::binary) << content;
    return *this / name;
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(*this / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::size_t CountFiles() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(_path), {}));
  }

 private:
  std::string _path;
};

// The temporary files of presets, whose names are fixed: one test of the machine at a time.
class PresetFiles {
 public:
  PresetFiles() : _fd(::open("/var/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    EXPECT_EQ(0, ::flock(_fd, LOCK_EX));
  }
  ~PresetFiles() { ::close(_fd); }
  PresetFiles(const PresetFiles&) = delete;
  PresetFiles& operator=(const PresetFiles&) = delete;

 private:
  const int _fd;
};

}  // namespace testing_support
