#include "pane.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "base/files.h"
#include "base/text.h"

namespace qv::sandbox {

namespace {

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::string resolved(const std::string& path) {
  char buffer[PATH_MAX];
  return ::realpath(path.c_str(), buffer) == nullptr ? path : buffer;
}

std::string search_path(const std::string& program) {
  return files::directory_of(program) + ":" + variable("PATH");
}

}  // namespace

std::string program_path(const std::string& first_argument) {
  if (first_argument.find('/') != std::string::npos) return resolved(first_argument);
  const std::string path = variable("PATH");
  for (const std::string_view directory : text::split(path, ':')) {
    const std::string candidate = std::string(directory) + "/" + first_argument;
    if (::access(candidate.c_str(), X_OK) == 0) return resolved(candidate);
  }
  return first_argument;
}

Variables pane_variables(const Instance& instance, const std::string& session,
                         const std::string& program) {
  return {
      {"QV_SANDBOX", instance.directory},
      {"QUORVEL_SESSION_ID", session},
      {"QUORVEL_COLLAB_SOCKET", instance.socket("teamwork")},
      {"QUORVEL_COLLAB_TOKEN_FILE", instance.token_file("teamwork")},
      {"QUORVEL_COLLAB_TOKEN", std::nullopt},
      {"QUORVEL_MCP_SOCKET", instance.socket("mcp")},
      {"QUORVEL_MCP_TOKEN_FILE", instance.token_file("mcp")},
      {"QUORVEL_MCP_TOKEN", std::nullopt},
      {"QUORVEL_VAULT_SOCKET", instance.socket("vault")},
      {"QUORVEL_VAULT_TOKEN_FILE", instance.token_file("vault")},
      {"QUORVEL_SECRET_BIN", instance.broker()},
      {"PATH", search_path(program)},
  };
}

Variables outside_variables(const Instance& instance, const std::string& program) {
  Variables variables = pane_variables(instance, "outside-" + std::to_string(::getpid()), program);
  for (auto& [name, value] : variables) {
    const bool of_a_pane = name.starts_with("QUORVEL_") && name != "QUORVEL_SESSION_ID";
    if (of_a_pane) value.reset();
  }
  variables.push_back({"HOME", instance.outside_home()});
  variables.push_back({"XDG_DATA_HOME", std::nullopt});
  return variables;
}

std::vector<std::string> shell() {
  const std::string own = variable("SHELL");
  return {own.empty() ? "/bin/sh" : own};
}

}  // namespace qv::sandbox
