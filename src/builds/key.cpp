#include "builds/key.h"

#include <algorithm>
#include <string_view>

#include "platform/sha256.h"

namespace qv::build {

namespace {

// Variables that say who builds and on which terminal, not what is built. They are
// beginnings of names, broadly meant: "TERM" covers TERM_PROGRAM, "_" every such name.
constexpr std::string_view kExcluded[] = {"QUORVEL_",    "TERM",
                                          "COLUMNS",     "LINES",
                                          "PWD",         "OLDPWD",
                                          "SHLVL",       "_",
                                          "CLAUDE",      "CODEX",
                                          "ANTIGRAVITY", "ITERM",
                                          "WINDOWID",    "SSH_",
                                          "TTY",         "SECURITYSESSIONID",
                                          "Apple_",      "LaunchInstanceID",
                                          "XPC_",        "__CF",
                                          "PS1",         "PS2",
                                          "ZDOTDIR",     "BASH_ENV",
                                          "COLORTERM",   "OTEL_",
                                          "MCP_",        "GIT_ASKPASS",
                                          "VSCODE_",     "COMMAND_MODE",
                                          "LOGNAME",     "SHELL",
                                          "USER",        "HISTFILE",
                                          "NVM_",        "LESS",
                                          "PAGER"};
static_assert(std::size(kExcluded) == 37);

bool is_excluded(std::string_view name) {
  return std::ranges::any_of(kExcluded, [&](auto start) { return name.starts_with(start); });
}

}  // namespace

std::string build_key(const BuildCommand& command, const std::string& folder,
                      const std::string& state) {
  std::string bytes;
  const auto append = [&](std::string_view piece) { bytes.append(piece).append(1, '\0'); };
  append("quorvel-build-key-v1");
  append(command.tool_path);
  append(folder);
  append(state);
  append(std::to_string(command.arguments.size()));
  for (const std::string& argument : command.arguments) append(argument);
  for (const auto& [name, value] : command.environment) {
    if (is_excluded(name)) continue;
    append(name);
    append(value);
  }
  return platform::sha256_hex(bytes);
}

}  // namespace qv::build
