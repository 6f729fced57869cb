// The one place that knows every command: it walks the command line from the outside in
// and hands what is left to the driver it belongs to.

#include "cli/dispatch.h"

#include <unistd.h>

#include <algorithm>
#include <span>

#include "base/io.h"
#include "base/text.h"
#include "board/driver.h"
#include "cli/arg_parser.h"
#include "cli/exit_code.h"
#include "cli/help.h"
#include "cli/verb_table.h"
#include "waiting/wait_command.h"

namespace qv {

namespace {

using Arguments = std::vector<std::string>;

constexpr std::string_view kVersion = "qv (Quorvel CLI) 1.0.0";

bool is_help_flag(std::string_view argument) { return argument == "--help" || argument == "-h"; }

Arguments rest_of(const Arguments& arguments) { return {arguments.begin() + 1, arguments.end()}; }

// A value given as "-". What is not UTF-8 cannot be sent on, and is told apart from an
// input that was empty.
std::string standard_input(CLIRuntime& runtime) {
  constexpr std::size_t kNoLimit = static_cast<std::size_t>(-1);
  auto input = io::read_to_end(STDIN_FILENO, kNoLimit);
  if (input && text::is_utf8(*input)) return std::move(*input);
  runtime.err("qv: standard input could not be read as UTF-8 text, so it counts as empty.");
  return "";
}

ExitCode not_built_yet(const std::string& command, CLIRuntime& runtime) {
  runtime.err("qv " + command + ": not built yet.");
  return ExitCode::unavailable;
}

ExitCode run_verb(const Group& group, const Verb& verb, const Arguments& arguments,
                  CLIRuntime& runtime) {
  const std::string command = "qv " + std::string(group.name) + " " + std::string(verb.name);
  const std::string help_hint = "Run `" + command + " --help`.";
  const auto outcome =
      ArgParser::parse(arguments, verb, [&runtime] { return standard_input(runtime); });
  if (const auto* error = std::get_if<ArgParser::ParseError>(&outcome)) {
    runtime.err(command + ": " + error->message);
    runtime.err(help_hint);
    return ExitCode::usage;
  }
  const auto& parsed = std::get<ArgParser::Parsed>(outcome);
  if (parsed.wantsHelp) {
    runtime.out(Help::verb(group, verb));
    return ExitCode::ok;
  }
  for (const std::string& flag : parsed.unknown) {
    runtime.err("qv: ignoring unknown flag --" + flag + ". " + help_hint);
  }
  switch (group.bridge) {
    case Bridge::teamwork: return board::run(verb, parsed.box, parsed.wantsJSON, runtime);
    case Bridge::notes:
    case Bridge::vault: break;
  }
  return not_built_yet(std::string(group.name), runtime);
}

ExitCode run_group(const Group& group, const Arguments& arguments, CLIRuntime& runtime) {
  if (arguments.empty() || arguments.front().starts_with('-')) {
    runtime.out(Help::group(group));
    const bool asked = arguments.empty() || std::ranges::any_of(arguments, is_help_flag);
    return asked ? ExitCode::ok : ExitCode::usage;
  }
  const Verb* verb = group.verb(arguments.front());
  if (verb == nullptr) {
    const std::string name(group.name);
    runtime.err("qv " + name + ": unknown command \"" + arguments.front() + "\". Run `qv " + name +
                " --help`.");
    return ExitCode::usage;
  }
  return run_verb(group, *verb, rest_of(arguments), runtime);
}

}  // namespace

int run(const Arguments& arguments, CLIRuntime& runtime) {
  const std::string_view first = arguments.empty() ? "help" : std::string_view(arguments.front());
  if (is_help_flag(first) || first == "help") {
    runtime.out(Help::top_level());
    return status_of(ExitCode::ok);
  }
  if (first == "--version") {
    runtime.out(kVersion);
    return status_of(ExitCode::ok);
  }
  if (first == "brief") {
    runtime.out(Help::brief());
    return status_of(ExitCode::ok);
  }
  if (first == "wait") return status_of(waiting::run(rest_of(arguments), runtime));
  if (first == "whoami" || first == "join" || first == "secret") {
    return status_of(not_built_yet(arguments.front(), runtime));
  }
  const Group* group = VerbTable::group(first);
  if (group == nullptr) {
    runtime.err("qv: unknown command \"" + arguments.front() + "\". Run `qv --help` for the list.");
    return status_of(ExitCode::usage);
  }
  return status_of(run_group(*group, rest_of(arguments), runtime));
}

}  // namespace qv
