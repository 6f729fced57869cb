#include "instance.h"

#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <utility>
#include <vector>

#include "base/files.h"
#include "base/output.h"
#include "base/text.h"
#include "bridge/transport.h"
#include "broker.h"
#include "helpers.h"
#include "platform/paths.h"
#include "tools.h"

namespace qv::sandbox {

namespace {

constexpr std::string_view kPrefix = "/qv-sandbox-";

std::string app_directory(const std::string& home) {
  return home + "/Library/Application Support/Quorvel";
}

// The user's directories in which a sandbox may lie, the best one first.
std::vector<std::string> places() {
  std::vector<std::string> places;
  for (const char* name : {"XDG_RUNTIME_DIR", "XDG_CACHE_HOME"}) {
    const char* place = std::getenv(name);
    if (place != nullptr && *place == '/') places.push_back(platform::without_final_slashes(place));
  }
  places.push_back(platform::home_directory() + "/.cache");
  return places;
}

// Nobody else can put anything there.
bool is_private(const std::string& place) {
  struct stat status {};
  return files::is_own_directory(place) && ::stat(place.c_str(), &status) == 0 &&
         (status.st_mode & S_IWOTH) == 0;
}

// Fills the directory; false when it cannot be written to, or nothing in it could be run.
bool furnish(const Instance& instance, const std::string& token) {
  bool furnished = files::make_private_directories(app_directory(instance.home)) &&
                   files::replace(instance.broker(), kBroker) &&
                   ::chmod(instance.broker().c_str(), 0700) == 0 &&
                   files::is_executable(instance.broker()) && furnish_tools(instance) &&
                   furnish_practice_helper(instance);
  for (const char* bridge : {"teamwork", "mcp", "vault"}) {
    furnished = furnished && files::replace(instance.file(bridge, "token"), token);
  }
  return furnished;
}

}  // namespace

std::string Instance::file(const std::string& bridge, const std::string& extension) const {
  return app_directory(home) + "/" + bridge + "-0." + extension;
}

std::string Instance::broker() const { return app_directory(home) + "/quorvel-secret"; }

std::optional<Instance> create_instance(const std::string& token) {
  constexpr std::size_t kLongestSocketPath = 103;
  bool too_long = false;
  for (const std::string& place : places()) {
    Instance instance{place + std::string(kPrefix) + "XXXXXX"};
    if (instance.file("teamwork", "sock").size() > kLongestSocketPath) {
      too_long = true;
    } else if (files::make_private_directories(place) && is_private(place) &&
               ::mkdtemp(instance.home.data()) != nullptr) {
      if (furnish(instance, token)) return instance;
      remove_instance(instance);
    }
  }
  complain((too_long ? "the path of a socket would be too long in "
                     : "no private directory could be made in ") +
           text::joined(places(), " or ") +
           ". Set XDG_RUNTIME_DIR to a directory of your own with a short path.");
  return std::nullopt;
}

void remove_instance(const Instance& instance) {
  constexpr int kTries = 20;
  for (int tries = 0; tries < kTries && files::exists(instance.home); ++tries) {
    std::error_code failed;  // when something is written there still
    std::filesystem::remove_all(instance.home, failed);
    if (failed) ::usleep(50'000);
  }
}

std::optional<Instance> running_instance() {
  std::vector<std::string> running;
  const auto add_if_it_runs = [&](const std::string& home) {
    const bool runs = files::is_own_directory(home) &&
                      BridgeTransport::is_live(Instance{home}.file("teamwork", "sock"));
    if (runs && std::ranges::find(running, home) == running.end()) running.push_back(home);
  };
  const char* named = std::getenv("QV_SANDBOX");
  if (named != nullptr) add_if_it_runs(named);
  std::error_code ignored;
  for (const std::string& place : named == nullptr ? places() : std::vector<std::string>()) {
    for (const auto& entry : std::filesystem::directory_iterator(place, ignored)) {
      const std::string home = entry.path().string();
      if (home.starts_with(place + std::string(kPrefix))) add_if_it_runs(home);
    }
  }
  if (running.size() == 1) return Instance{running.front()};
  complain(running.empty() ? "no sandbox is running here. Start one with `qv-sandbox`."
                           : "several are running. Name one of them:\n  QV_SANDBOX=" +
                                 text::joined(running, "\n  QV_SANDBOX="));
  return std::nullopt;
}

void enter_pane(const Instance& instance, const std::string& session) {
  constexpr std::pair<const char*, const char*> kBridges[] = {
      {"QUORVEL_COLLAB", "teamwork"}, {"QUORVEL_MCP", "mcp"}, {"QUORVEL_VAULT", "vault"}};
  const auto set = [](const std::string& name, const std::string& value) {
    ::setenv(name.c_str(), value.c_str(), 1);
  };
  for (const auto& [name, bridge] : kBridges) {
    set(std::string(name) + "_SOCKET", instance.file(bridge, "sock"));
    set(std::string(name) + "_TOKEN_FILE", instance.file(bridge, "token"));
    ::unsetenv((std::string(name) + "_TOKEN").c_str());
  }
  set("QUORVEL_SECRET_BIN", instance.broker());
  set("QUORVEL_SESSION_ID", session);
  set("QV_SANDBOX", instance.home);
  const char* path = std::getenv("PATH");
  const std::string before = path == nullptr ? "" : path;
  const std::string tools = tools_directory(instance);
  const auto directories = text::split(before, ':');
  // A pane opened from another one keeps the order that it finds.
  const bool has_tools = std::ranges::find(directories, tools) != directories.end();
  if (!has_tools) set("PATH", tools + ":" + before + ":" + stand_in_directory(instance));
}

std::string random_hex(std::size_t digits) {
  std::string bytes(digits, '\0');
  // No token at all is better than one that can be guessed.
  if (::getentropy(bytes.data(), bytes.size()) != 0) std::abort();
  for (char& byte : bytes) byte = "0123456789abcdef"[static_cast<unsigned char>(byte) % 16];
  return bytes;
}

void complain(const std::string& sentence) {
  OutputStream(2).write_line("qv-sandbox: " + sentence);
}

}  // namespace qv::sandbox
