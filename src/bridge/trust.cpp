// A folder like /tmp keeps users from removing each other's files, not from making files
// under names that somebody else is about to use: the socket of an app that has quit, or
// the whole folder in which its programs were.

#include "bridge/trust.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "base/text.h"

namespace qv::trust {

namespace {

constexpr int kMostLinks = 40;  // as many as the system itself follows

bool anybody_can_write_to(const std::string& folder) {
  struct stat status {};
  return ::stat(folder.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0;
}

std::string target_of(const std::string& link) {
  char target[PATH_MAX];
  const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
  return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : "";
}

std::string absolute(const std::string& path) {
  char folder[PATH_MAX];
  if (path.starts_with('/') || ::getcwd(folder, sizeof folder) == nullptr) return path;
  return std::string(folder) + "/" + path;
}

}  // namespace

bool covers(uid_t user, uid_t self, const char* sudo_user) {
  if (user == self || user == 0) return true;
  return self == 0 && sudo_user != nullptr && text::whole_number(sudo_user) == user;
}

bool covers(uid_t user) { return covers(user, ::geteuid(), std::getenv("SUDO_UID")); }

std::optional<ForeignComponent> foreign_component(const std::string& path) {
  std::string left = absolute(path);
  std::string walked;  // without a final slash
  int links = 0;
  while (!left.empty()) {
    const std::size_t end = left.find('/');
    const std::string name = left.substr(0, end);
    left = end == std::string::npos ? "" : left.substr(end + 1);
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      walked.resize(walked.empty() ? 0 : walked.rfind('/'));
      continue;
    }
    const std::string component = walked + "/" + name;
    struct stat status {};
    if (::lstat(component.c_str(), &status) != 0) return std::nullopt;  // nothing to find there
    if (!covers(status.st_uid) && anybody_can_write_to(walked + "/")) {
      return ForeignComponent{component, status.st_uid};
    }
    if (!S_ISLNK(status.st_mode)) {
      walked = component;
      continue;
    }
    const std::string target = target_of(component);
    if (target.empty() || ++links > kMostLinks) return std::nullopt;
    if (target.starts_with('/')) walked.clear();
    left = target + "/" + left;
  }
  return std::nullopt;
}

}  // namespace qv::trust
