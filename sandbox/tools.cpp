// In a pane of the app a build tool's name stands for a small script that runs the tool
// through qv. The script passes on everything: only qv knows which calls are builds, and for
// any other one, or a program that merely shares the name, it becomes the program at once.

#include "tools.h"

#include <sys/stat.h>

#include <cstdlib>
#include <string_view>

#include "base/files.h"
#include "base/text.h"

namespace qv::sandbox {

namespace {

constexpr std::string_view kTools[] = {"cargo", "go", "swift"};

// Behind the name of cargo where there is no build tool at all, and in `practice/` always.
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
    const std::string program = std::string(directory) + "/" + std::string(name);
    if (directory.starts_with('/') && files::is_executable(program)) return program;
  }
  return "";
}

bool write_program(const std::string& path, std::string_view script) {
  return files::make_private_directories(files::directory_of(path)) &&
         files::replace(path, script) && ::chmod(path.c_str(), 0700) == 0;
}

std::string quoted(const std::string& word) {
  return "'" + text::joined(text::split(word, '\''), "'\\''") + "'";
}

}  // namespace

std::string tools_directory(const Instance& instance) { return instance.home + "/bin"; }

bool furnish_tools(const Instance& instance) {
  const std::string qv = find_program("qv");
  if (qv.empty()) return true;
  const auto wrap = [&](const std::string& path, const std::string& tool) {
    return write_program(
        path, "#!/bin/sh\nexec " + quoted(qv) + " __build " + quoted(tool) + " \"$@\"\n");
  };
  const std::string practice = instance.home + "/practice/cargo";
  const std::string stand_in = instance.home + "/practice/sandbox-build/cargo";
  bool written = write_program(stand_in, kSandboxBuild) && wrap(practice, stand_in);
  bool found = false;
  for (const std::string_view name : kTools) {
    const std::string tool = find_program(name);
    if (tool.empty()) continue;
    found = true;
    written = wrap(tools_directory(instance) + "/" + std::string(name), tool) && written;
  }
  return (found || wrap(tools_directory(instance) + "/cargo", stand_in)) && written;
}

}  // namespace qv::sandbox
