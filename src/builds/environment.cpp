#include "builds/environment.h"

#include <unistd.h>

#include <string_view>

#include "platform/paths.h"

extern char** environ;

namespace qv::build {

Environment read_environment() {
  Environment environment;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) continue;
    environment.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return environment;
}

std::string ledger_directory() {
  return platform::home_directory() + "/Library/Application Support/Quorvel/builds";
}

std::vector<std::string> as_strings(const Environment& environment) {
  std::vector<std::string> strings;
  strings.reserve(environment.size());
  for (const auto& [name, value] : environment) strings.push_back(name + "=" + value);
  return strings;
}

const std::string* find(const Environment& environment, std::string_view name) {
  const auto found = environment.find(name);
  return found == environment.end() ? nullptr : &found->second;
}

bool is_on(const Environment& environment, std::string_view name) {
  const std::string* value = find(environment, name);
  return value != nullptr && *value == "1";
}

}  // namespace qv::build
