#include "seat/options.h"

#include <algorithm>

#include "command/did_you_mean.h"
#include "command/help_flag.h"
#include "command/typed_flag.h"

namespace qv::seat {

Options parse_options(const std::vector<std::string>& arguments, std::span<const Flag> named) {
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
    } else if (std::ranges::find(named, name, &Flag::name) == named.end()) {
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

std::optional<ExitCode> settled(const Options& options, std::span<const Flag> named,
                                std::string_view command, std::string_view help,
                                CLIRuntime& runtime) {
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
    ignore_unknown_flag(name, path, named, runtime);
  }
  return std::nullopt;
}

}  // namespace qv::seat
