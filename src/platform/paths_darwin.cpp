#include <pwd.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "platform/paths.h"

namespace qv::platform {

std::string home_in_user_database() {
  const passwd* entry = ::getpwuid(::getuid());
  return entry != nullptr && entry->pw_dir != nullptr ? entry->pw_dir : "";
}

std::string application_support_directory() {
  return home_directory() + "/Library/Application Support";
}

std::string temporary_directory() {
  const char* directory = std::getenv("TMPDIR");
  if (directory != nullptr && *directory == '/') return without_final_slashes(directory);
  char path[PATH_MAX];
  const std::size_t length = ::confstr(_CS_DARWIN_USER_TEMP_DIR, path, sizeof path);
  return length > 0 && length <= sizeof path ? without_final_slashes(path) : "/tmp";
}

}  // namespace qv::platform
