#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "platform/paths.h"
#include "support.h"

namespace qv::platform {
namespace {

void set(const char* name, const std::string& value) { ::setenv(name, value.c_str(), 1); }

TEST(LinuxPaths, AsTheVariablesAndTheFoldersSay) {
  const std::string local = "/.local/share", library = "/Library/Application Support";
  const std::string seat = "/Quorvel/agent-seat";
  struct {
    std::string data_home;
    std::vector<std::string> files;  // below the home directory
    std::string expected;            // so too
  } const kRows[] = {
      {"", {}, library},
      {"/data//", {local + seat}, "/data"},
      {"relative", {local + "/x", library + seat}, library},
      {"", {local + "/x", library + "/Quorvel-2/mcp-1.sock"}, library},
      {"", {local + "/x", library + "/Quorvel/builds/lock", library + "/Quorvelous/x"}, local},
      {"", {local + seat, library + seat}, local},
  };
  for (const auto& [data_home, files, expected] : kRows) {
    const ScratchDirectory home;
    set("HOME", home.path());
    set("XDG_DATA_HOME", data_home.starts_with('/') ? home.path() + data_home : data_home);
    for (const std::string& file : files) home.write(file, "");
    EXPECT_EQ(application_support_directory(), home.path() + expected)
        << data_home << testing::PrintToString(files);
  }
  constexpr std::array<const char*, 3> kTemporary[] = {
      {"/t/", "/run/user/1", "/t"}, {"t", "/run/user/1", "/run/user/1"}, {"", "run", "/tmp"}};
  for (const auto& [temporary, runtime, expected] : kTemporary) {
    set("TMPDIR", temporary);
    set("XDG_RUNTIME_DIR", runtime);
    EXPECT_EQ(temporary_directory(), expected);
  }
  for (const auto* name : {"HOME", "XDG_DATA_HOME", "TMPDIR", "XDG_RUNTIME_DIR"}) ::unsetenv(name);
  EXPECT_EQ(home_directory(), ::getpwuid(::getuid())->pw_dir);
}

}  // namespace
}  // namespace qv::platform
