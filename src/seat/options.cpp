#include "seat/options.h"

#include <algorithm>

#include "cli/help_flag.h"

namespace qv::seat {

namespace {

// As everywhere on the command line, "-" alone and "-5x" are words.
bool is_option(std::string_view argument) {
  return argument.starts_with("--") || (argument.starts_with('-') && argument.size() == 2);
}

}  // namespace

Options parse_options(const std::vector<std::string>& arguments,
                      std::span<const std::string_view> named) {
  Options options;
  options.wantsHelp = asks_for_help(arguments);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!is_option(argument)) {
      options.words.push_back(argument);
      continue;
    }
    const std::string text = argument.substr(argument.starts_with("--") ? 2 : 1);
    const std::size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    if (name == "json") {
      options.wantsJSON = true;
    } else if (std::ranges::find(named, name) == named.end()) {
      options.unknown.push_back(name);
    } else if (equals != std::string::npos) {
      options.values[name] = text.substr(equals + 1);
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
