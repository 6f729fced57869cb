#include <cstdlib>

#include "base/files.h"
#include "platform/paths.h"

namespace qv::platform {

std::string application_support_directory() {
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') return without_final_slashes(data);
  const std::string home = home_directory();
  const std::string local = home + "/.local/share";
  return files::is_directory(local) ? local : home + "/Library/Application Support";
}

std::string temporary_directory() {
  for (const char* name : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
    const char* directory = std::getenv(name);
    if (directory != nullptr && *directory == '/') return without_final_slashes(directory);
  }
  return "/tmp";
}

}  // namespace qv::platform
