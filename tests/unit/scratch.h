#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace qv::test {

// A directory of its own for one test, gone with the object.
class Scratch {
 public:
  Scratch() {
    std::string name = std::filesystem::temp_directory_path() / "qv-unit-XXXXXX";
    path_ = ::mkdtemp(name.data());
  }
  ~Scratch() { std::filesystem::remove_all(path_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string operator/(std::string_view name) const {
    return path_ + "/" + std::string(name);
  }
  [[nodiscard]] bool has(std::string_view name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(*this / name));
  }
  void write(std::string_view name, std::string_view content) const {
    const std::filesystem::path file = *this / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
  }

 private:
  std::string path_;
};

}  // namespace qv::test
