#include <algorithm>
#include <optional>
#include <string>

#include "base/files.h"
#include "base/text.h"
#include "platform/ancestors.h"

namespace qv::platform {

namespace {

std::optional<std::string> file_of(pid_t pid, const char* name) {
  return files::read("/proc/" + std::to_string(pid) + "/" + name);
}

}  // namespace

// The second field behind the name, which may hold anything.
pid_t parent_of(pid_t pid) {
  const auto text = file_of(pid, "stat");
  const std::size_t name_end = text ? text->rfind(") ") : std::string::npos;
  if (name_end == std::string::npos) return 0;
  const auto parent = text::piece(std::string_view(*text).substr(name_end + 2), ' ', 1);
  return parent ? static_cast<pid_t>(text::whole_number(*parent).value_or(0)) : 0;
}

bool was_started_with(pid_t pid, std::string_view variable) {
  const std::string start = std::string(variable) + "=";
  const auto environment = file_of(pid, "environ");
  if (!environment) return false;
  const auto entries = text::split(*environment, '\0');
  return std::ranges::any_of(entries, [&](auto entry) { return entry.starts_with(start); });
}

}  // namespace qv::platform
