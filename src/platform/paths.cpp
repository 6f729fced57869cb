#include "platform/paths.h"

#include <cstdlib>

namespace qv::platform {

std::string without_final_slashes(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

bool is_instance_name(std::string_view name) {
  return name == "Quorvel" || name.starts_with("Quorvel-");
}

std::string home_directory() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return without_final_slashes(home);
  return without_final_slashes(home_in_user_database());
}

}  // namespace qv::platform
