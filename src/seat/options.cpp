#include "seat/options.h"

#include <algorithm>

#include "command/help_flag.h"
#include "command/typed_flag.h"

namespace qv::seat {

Options parse_options(const std::vector<std::string>& arguments,
                      std::span<const std::string_view> named) {
  Options options;
  options.wantsHelp = asks_for_help(arguments);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const auto typed = typed_flag(arguments[i]);
    if (!typed) {
      options.words.push_back(arguments[i]);
      continue;
    }
    const std::string name(typed->name);
    if (name == "json") {
      options.wantsJSON = true;
    } else if (std::ranges::find(named, name) == named.end()) {
      options.unknown.push_back(name);
    } else if (typed->value) {
      options.values[name] = *typed->value;
    } else if (i + 1 < arguments.size() && !arguments[i + 1].starts_with("--")) {
      options.values[name] = arguments[++i];
    } else if (options.nameless.empty()) {
      options.nameless = name;
    }
  }
  return options;
}

std::optional<ExitCode> settled(const Options& options, std::string_view command,
                                std::string_view help, CLIRuntime& runtime) {
  if (options.wantsHelp) {
    runtime.out(help);
    return ExitCode::ok;
  }
  const std::string path = "qv " + std::string(command);
  if (!options.nameless.empty()) {
    runtime.err(path + ": --" + options.nameless + " needs a name.");
    return ExitCode::usage;
  }
  for (const std::string& name : options.unknown) {
    runtime.err("qv: ignoring unknown flag --" + name + ". Run `" + path + " --help`.");
  }
  return std::nullopt;
}

}  // namespace qv::seat
