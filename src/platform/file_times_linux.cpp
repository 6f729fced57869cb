#include "platform/file_times.h"

namespace qv::platform {

FileTime modification_time(const struct stat& status) {
  return {status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

}  // namespace qv::platform
