#include "instance.h"

#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <utility>
#include <vector>

#include "base/files.h"
#include "base/output.h"
#include "bridge/transport.h"
#include "broker.h"

namespace qv::sandbox {

namespace {

// Not the user's own temporary directory: on macOS a socket's path would be too long there.
constexpr std::string_view kPrefix = "/tmp/qv-sandbox-";

std::string app_directory(const std::string& home) {
  return home + "/Library/Application Support/Quorvel";
}

}  // namespace

std::string Instance::file(const std::string& bridge, const std::string& extension) const {
  return app_directory(home) + "/" + bridge + "-0." + extension;
}

std::string Instance::broker() const { return app_directory(home) + "/quorvel-secret"; }

std::optional<Instance> create_instance(const std::string& token) {
  std::string home = std::string(kPrefix) + "XXXXXX";
  if (::mkdtemp(home.data()) == nullptr) return std::nullopt;
  const Instance instance{home};
  const bool furnished = files::make_private_directories(app_directory(home)) &&
                         files::replace(instance.file("teamwork", "token"), token) &&
                         files::replace(instance.file("mcp", "token"), token) &&
                         files::replace(instance.broker(), kBroker) &&
                         ::chmod(instance.broker().c_str(), 0700) == 0;
  if (furnished) return instance;
  remove_instance(instance);
  return std::nullopt;
}

void remove_instance(const Instance& instance) {
  std::error_code ignored;
  std::filesystem::remove_all(instance.home, ignored);
}

std::optional<Instance> running_instance() {
  std::vector<Instance> running;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/tmp", ignored)) {
    const Instance found{entry.path().string()};
    const bool own = found.home.starts_with(kPrefix) && files::is_own_directory(found.home);
    if (own && BridgeTransport::is_live(found.file("teamwork", "sock"))) running.push_back(found);
  }
  const char* named = std::getenv("QV_SANDBOX");
  const auto is_other = [&](const Instance& each) { return each.home != named; };
  if (named != nullptr) std::erase_if(running, is_other);
  if (running.size() == 1) return running.front();
  complain(running.empty() ? "no sandbox is running here. Start one with `qv-sandbox`."
                           : "several are running. Name one with QV_SANDBOX=/tmp/qv-sandbox-...");
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
