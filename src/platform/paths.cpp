#include "platform/paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace qv::platform {

std::string home_directory() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') return home;
  const passwd* entry = ::getpwuid(::getuid());
  return entry != nullptr && entry->pw_dir != nullptr ? entry->pw_dir : "";
}

}  // namespace qv::platform
