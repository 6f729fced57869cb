// In a pane of the app a build tool's name is a link to qv, which finds the tool behind it on
// the PATH. Only qv knows which calls are builds; for any other one, or a program that merely
// shares the name, it becomes the program at once.

#include "tools.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "base/files.h"
#include "base/text.h"

namespace qv::sandbox {

namespace {

constexpr std::string_view kTools[] = {"cargo", "go", "swift"};

// Behind the name of cargo where there is no build tool at all, and behind `practice/` always.
constexpr std::string_view kSandboxBuild = R"(#!/bin/sh
# sandbox-build: takes its time like a build, and compiles nothing.
echo "sandbox-build plays cargo here: nothing is compiled"
for part in reader records importer; do
  echo "   Compiling $part"
  sleep 1
done
echo "    Finished $*"
)";

// The first program of this name on the PATH; empty when there is none.
std::string find_program(std::string_view name) {
  const char* path = std::getenv("PATH");
  for (const std::string_view directory : text::split(path == nullptr ? "" : path, ':')) {
    std::string program = std::string(directory) + "/" + std::string(name);
    if (directory.starts_with('/') && files::is_executable(program)) return program;
  }
  return "";
}

bool link_to(const std::string& program, const std::string& path) {
  std::error_code failure;
  files::make_private_directories(files::directory_of(path));
  std::filesystem::create_symlink(program, path, failure);
  return !failure;
}

}  // namespace

std::string tools_directory(const Instance& instance) { return instance.home + "/bin"; }

std::string stand_in_directory(const Instance& instance) { return instance.home + "/stand-in"; }

bool write_program(const std::string& path, std::string_view script) {
  return files::make_private_directories(files::directory_of(path)) &&
         files::replace(path, script) && ::chmod(path.c_str(), 0700) == 0;
}

bool furnish_tools(const Instance& instance) {
  const std::string qv = find_program("qv");
  if (qv.empty()) return true;
  const std::string practice = instance.home + "/practice";
  bool furnished = link_to(qv, practice + "/cargo") &&
                   write_program(practice + "/sandbox-build/cargo", kSandboxBuild);
  bool found = false;
  for (const std::string_view name : kTools) {
    if (find_program(name).empty()) continue;
    found = true;
    furnished = link_to(qv, tools_directory(instance) + "/" + std::string(name)) && furnished;
  }
  if (found) return furnished;
  return link_to(qv, tools_directory(instance) + "/cargo") &&
         write_program(stand_in_directory(instance) + "/cargo", kSandboxBuild) && furnished;
}

}  // namespace qv::sandbox
