#include <unistd.h>

#include <climits>

#include "base/files.h"
#include "base/text.h"
#include "platform/process_info.h"

namespace qv::platform {

namespace {

std::string link_target(const std::string& link) {
  char target[PATH_MAX];
  const ssize_t size = ::readlink(link.c_str(), target, sizeof target);
  return size <= 0 ? "" : std::string(target, static_cast<std::size_t>(size));
}

}  // namespace

// /proc/PID/cmdline: each word with a zero behind it.
std::vector<std::string> command_line(pid_t pid) {
  auto bytes = files::read("/proc/" + std::to_string(pid) + "/cmdline");
  if (!bytes || bytes->empty()) return {};
  if (bytes->back() == '\0') bytes->pop_back();
  const auto words = text::split(*bytes, '\0');
  return {words.begin(), words.end()};
}

std::string working_folder(pid_t pid) {
  return link_target("/proc/" + std::to_string(pid) + "/cwd");
}

std::string own_program() { return link_target("/proc/self/exe"); }

}  // namespace qv::platform
