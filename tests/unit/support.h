#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace qv {

// A directory of its own for one test, removed with it. Its path is short enough for a socket's.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string pattern = "/tmp/qv-XXXXXX";
    path_ = ::mkdtemp(pattern.data());
  }
  ~ScratchDirectory() { std::filesystem::remove_all(path_); }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

  // Creates the file with its parents; gives its path.
  std::string write(const std::string& name, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(file(name)).parent_path());
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
  }
  [[nodiscard]] std::string read(const std::string& name) const {
    std::ifstream in(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::string path_;
};

}  // namespace qv
