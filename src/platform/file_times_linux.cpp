#include <sys/stat.h>

#include "platform/file_times.h"

namespace qv::platform {

std::optional<std::int64_t> modification_time(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
}

}  // namespace qv::platform
