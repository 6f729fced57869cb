#include "command/did_you_mean.h"

#include <unistd.h>

#include <vector>

#include "base/nearest.h"

namespace qv {

void did_you_mean(std::string_view meant, CLIRuntime& runtime) {
  if (meant.empty() || ::isatty(STDERR_FILENO) != 1) return;
  runtime.err("Did you mean \"" + std::string(meant) + "\"?");
}

std::string meant_flag(std::string_view typed, std::span<const Flag> flags) {
  std::vector<std::string_view> names;
  for (const Flag& flag : flags) names.push_back(flag.name);
  names.insert(names.end(), {kJSONFlag.name, "help"});
  const std::string_view name = text::nearest(typed, names);
  return name.empty() ? "" : "--" + std::string(name);
}

void ignore_unknown_flag(std::string_view flag, std::string_view command,
                         std::span<const Flag> flags, CLIRuntime& runtime) {
  runtime.err("qv: ignoring unknown flag --" + std::string(flag) + ". Run `" +
              std::string(command) + " --help`.");
  did_you_mean(meant_flag(flag, flags), runtime);
}

}  // namespace qv
