#include <sys/stat.h>

#include "platform/file_times.h"

namespace qv::platform {

std::optional<FileTime> modification_time(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileTime{status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

}  // namespace qv::platform
