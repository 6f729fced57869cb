#include "instance.h"

#include <dirent.h>
#include <signal.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "base/files.h"
#include "base/text.h"
#include "broker.h"
#include "platform/paths.h"

namespace qv::sandbox {

namespace {

constexpr std::string_view kPrefix = "qv-sandbox-";
constexpr std::size_t kLongestSocketPath = 103;

std::string outside_support(const std::string& directory) {
  return directory + "/home/Library/Application Support";
}

// The temporary directory, unless the longest path in a sandbox there could not be a
// socket's.
std::string root() {
  const std::string temporary = platform::temporary_directory();
  const std::string longest =
      outside_support(temporary + "/" + std::string(kPrefix) + "4194304-XXXXXX") +
      "/Quorvel-0/teamwork-4194304.sock";
  return longest.size() <= kLongestSocketPath ? temporary : "/tmp";
}

pid_t owner_of(std::string_view name) {
  if (!name.starts_with(kPrefix)) return 0;
  name.remove_prefix(kPrefix.size());
  return static_cast<pid_t>(text::whole_number(name.substr(0, name.find('-'))).value_or(0));
}

bool is_running(pid_t pid) { return ::kill(pid, 0) == 0 || errno == EPERM; }

// Every sandbox directory of this user, of the living and the dead.
std::vector<Instance> instances() {
  std::vector<Instance> found;
  const std::string base = root();
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(base.c_str()), ::closedir);
  if (!listing) return found;
  while (const dirent* entry = ::readdir(listing.get())) {
    const pid_t owner = owner_of(entry->d_name);
    const std::string directory = base + "/" + entry->d_name;
    if (owner > 0 && files::is_own_directory(directory)) found.push_back({directory, owner});
  }
  return found;
}

// A home in which the sandbox is the one instance that discovery finds.
bool furnish_outside(const Instance& instance) {
  const std::string support = outside_support(instance.directory);
  return files::make_private_directories(support) &&
         ::symlink(instance.directory.c_str(), (support + "/Quorvel-0").c_str()) == 0;
}

}  // namespace

std::string Instance::socket(std::string_view bridge) const {
  return directory + "/" + std::string(bridge) + "-" + std::to_string(owner) + ".sock";
}

std::string Instance::token_file(std::string_view bridge) const {
  return directory + "/" + std::string(bridge) + "-" + std::to_string(owner) + ".token";
}

std::string Instance::outside_home() const { return directory + "/home"; }

std::string Instance::broker() const { return directory + "/" + kBrokerName; }

std::optional<Instance> create_instance(const std::string& program) {
  for (const Instance& dead : instances()) {
    if (!is_running(dead.owner)) remove_instance(dead);
  }
  std::string path = root() + "/" + std::string(kPrefix) + std::to_string(::getpid()) + "-XXXXXX";
  if (::mkdtemp(path.data()) == nullptr) return std::nullopt;
  const Instance instance{path, ::getpid()};
  const bool furnished = files::replace(instance.token_file("teamwork"), random_hex(32) + "\n") &&
                         files::replace(instance.token_file("mcp"), random_hex(32) + "\n") &&
                         furnish_outside(instance) &&
                         ::symlink(program.c_str(), instance.broker().c_str()) == 0;
  if (furnished) return instance;
  remove_instance(instance);
  return std::nullopt;
}

void remove_instance(const Instance& instance) {
  std::error_code ignored;
  std::filesystem::remove_all(instance.directory, ignored);
}

std::vector<Instance> running_instances() {
  std::vector<Instance> running;
  for (const Instance& instance : instances()) {
    if (is_running(instance.owner)) running.push_back(instance);
  }
  return running;
}

std::string random_hex(std::size_t digits) {
  std::string bytes(digits, '\0');
  if (::getentropy(bytes.data(), bytes.size()) != 0)
    std::abort();  // no token is better than a known one
  for (char& byte : bytes) byte = "0123456789abcdef"[static_cast<unsigned char>(byte) % 16];
  return bytes;
}

}  // namespace qv::sandbox
