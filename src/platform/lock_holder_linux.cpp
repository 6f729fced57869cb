// /proc/locks: "1: FLOCK  ADVISORY  WRITE 4242 fd:01:393218 0 EOF" for each lock, where device
// numbers are hexadecimal, the inode is decimal, and 0 is a process that cannot be seen from here.

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cstdio>
#include <string>
#include <vector>

#include "base/files.h"
#include "base/text.h"
#include "platform/lock_holder.h"

namespace qv::platform {

namespace {

std::vector<std::string_view> words_of(std::string_view line) {
  std::vector<std::string_view> words = text::split(line, ' ');
  std::erase(words, "");
  return words;
}

}  // namespace

std::optional<pid_t> lock_holder(int fd) {
  struct stat status {};
  const auto locks = files::read("/proc/locks");
  if (!locks || ::fstat(fd, &status) != 0) return std::nullopt;
  char file[64];
  std::snprintf(file, sizeof file, "%02x:%02x:%llu", major(status.st_dev), minor(status.st_dev),
                static_cast<unsigned long long>(status.st_ino));
  for (const std::string_view line : text::split(*locks, '\n')) {
    const auto words = words_of(line);
    if (words.size() < 6 || words[1] != "FLOCK" || words[3] != "WRITE" || words[5] != file)
      continue;
    const auto pid = text::whole_number(words[4]);
    if (pid && *pid > 0) return static_cast<pid_t>(*pid);
  }
  return std::nullopt;
}

}  // namespace qv::platform
