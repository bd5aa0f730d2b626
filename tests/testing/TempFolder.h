// A folder of the test's own, which goes with it.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace testing_support {

class TempFolder {
 public:
  TempFolder() : _path(testing::TempDir() + "libconfig.XXXXXX") {
    EXPECT_NE(nullptr, ::mkdtemp(_path.data()));
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& GetPath() const { return _path; }
  std::string operator/(const std::string& name) const { return _path + "/" + name; }

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

}  // namespace testing_support
