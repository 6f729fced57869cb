#include "platform/process_info_darwin.h"

#include <libproc.h>
#include <mach-o/dyld.h>
#include <sys/sysctl.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/process_info.h"

namespace qv::platform {

std::string arguments_and_environment(pid_t pid) {
  int name[] = {CTL_KERN, KERN_PROCARGS2, pid};
  std::size_t size = 0;
  if (::sysctl(name, 3, nullptr, &size, nullptr, 0) != 0) return {};
  std::string bytes(size, '\0');
  if (::sysctl(name, 3, bytes.data(), &size, nullptr, 0) != 0) return {};
  bytes.resize(size);
  return bytes;
}

std::vector<std::string> command_line(pid_t pid) {
  const std::string bytes = arguments_and_environment(pid);
  std::int32_t count = 0;
  if (bytes.size() < sizeof count) return {};
  std::memcpy(&count, bytes.data(), sizeof count);
  std::size_t at = bytes.find('\0', sizeof count);
  at = bytes.find_first_not_of('\0', at);
  std::vector<std::string> words;
  for (; count > 0 && at < bytes.size(); --count) {
    words.emplace_back(bytes.c_str() + at);
    at += words.back().size() + 1;
  }
  return words;
}

std::string working_folder(pid_t pid) {
  proc_vnodepathinfo info{};
  const int size = ::proc_pidinfo(pid, PROC_PIDVNODEPATHINFO, 0, &info, sizeof info);
  return size == static_cast<int>(sizeof info) ? info.pvi_cdir.vip_path : "";
}

std::string own_program() {
  char path[PATH_MAX];
  char resolved[PATH_MAX];
  std::uint32_t size = sizeof path;
  if (::_NSGetExecutablePath(path, &size) != 0) return "";
  return ::realpath(path, resolved) == nullptr ? "" : resolved;
}

}  // namespace qv::platform
