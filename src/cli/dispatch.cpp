// The one place that knows every command: it walks the command line from the outside in
// and hands what is left to the driver it belongs to.

#include "cli/dispatch.h"

#include <unistd.h>

#include <cerrno>

#include "base/io.h"
#include "base/nearest.h"
#include "base/text.h"
#include "base/trace.h"
#include "board/driver.h"
#include "cli/arg_parser.h"
#include "cli/completion.h"
#include "cli/help.h"
#include "cli/specials.h"
#include "cli/verb_table.h"
#include "command/did_you_mean.h"
#include "command/exit_code.h"
#include "command/help_flag.h"
#include "notes/driver.h"
#include "seat/join.h"
#include "seat/secret.h"
#include "seat/whoami.h"
#include "waiting/wait_command.h"

namespace qv {

namespace {

using Arguments = std::vector<std::string>;

constexpr std::string_view kVersion = "qv (Quorvel CLI) " QV_VERSION;

Arguments rest_of(const Arguments& arguments) { return {arguments.begin() + 1, arguments.end()}; }

// A value given as "-"; absent when it is too large. What is not UTF-8 cannot be sent on, and
// is told apart from an input that was empty.
std::optional<std::string> standard_input(CLIRuntime& runtime) {
  constexpr std::size_t kLargest = std::size_t{64} << 20;
  auto input = io::read_to_end(STDIN_FILENO, kLargest);
  if (!input && errno == EFBIG) return std::nullopt;
  if (input && text::is_utf8(*input)) return input;
  runtime.err("qv: standard input could not be read as UTF-8 text, so it counts as empty.");
  return std::string();
}

std::vector<std::string_view> names_of(const auto& rows) {
  std::vector<std::string_view> names;
  for (const auto& row : rows) names.push_back(row.name);
  return names;
}

// What was meant by the first word: a group or command, or a verb whose group was forgotten.
std::string meant_command(std::string_view typed) {
  auto names = names_of(VerbTable::groups());
  for (const Special& special : kSpecials) names.push_back(special.name);
  names.emplace_back("help");
  const std::string_view name = text::nearest(typed, names);
  if (!name.empty()) return std::string(name);
  std::string meant;
  for (const Group& group : VerbTable::groups()) {
    if (group.verb(typed) == nullptr) continue;
    if (!meant.empty()) return "";
    meant = std::string(group.name) + " " + std::string(typed);
  }
  return meant;
}

ExitCode run_verb(const Group& group, const Verb& verb, const Arguments& arguments,
                  CLIRuntime& runtime) {
  const std::string command = "qv " + std::string(group.name) + " " + std::string(verb.name);
  const auto outcome =
      ArgParser::parse(arguments, verb, [&runtime] { return standard_input(runtime); });
  const auto warn_of = [&](const std::vector<std::string>& unknown) {
    for (const std::string& flag : unknown) {
      ignore_unknown_flag(flag, command, verb.flags, runtime);
    }
  };
  if (const auto* error = std::get_if<ArgParser::ParseError>(&outcome)) {
    // A person whose flag was misspelt would look for the mistake elsewhere. What reads
    // standard error as data gets the two lines it knows.
    if (::isatty(STDERR_FILENO) == 1) warn_of(error->unknown);
    runtime.err(command + ": " + error->message);
    runtime.err("Run `" + command + " --help`.");
    return ExitCode::usage;
  }
  const auto& parsed = std::get<ArgParser::Parsed>(outcome);
  if (parsed.wantsHelp) {
    runtime.out(Help::verb(group, verb));
    return ExitCode::ok;
  }
  warn_of(parsed.unknown);
  const auto run_driver = group.bridge == Bridge::notes ? notes::run : board::run;
  return run_driver(verb, parsed.box, parsed.wantsJSON, runtime);
}

ExitCode run_group(const Group& group, const Arguments& arguments, CLIRuntime& runtime) {
  if (arguments.empty() || arguments.front().starts_with('-')) {
    runtime.out(Help::group(group));
    const bool asked = arguments.empty() || asks_for_help(arguments);
    return asked ? ExitCode::ok : ExitCode::usage;
  }
  const Verb* verb = group.verb(arguments.front());
  if (verb == nullptr) {
    const std::string name(group.name);
    runtime.err("qv " + name + ": unknown command \"" + arguments.front() + "\". Run `qv " + name +
                " --help`.");
    did_you_mean(text::nearest(arguments.front(), names_of(group.verbs)), runtime);
    return ExitCode::usage;
  }
  trace::step("command ", group.name, " ", verb->name);
  return run_verb(group, *verb, rest_of(arguments), runtime);
}

}  // namespace

int run(const Arguments& typed, CLIRuntime& runtime) {
  // What the broker of secrets runs may name files in any bytes; the rest is text.
  if (!typed.empty() && typed.front() == "secret") return seat::secret(rest_of(typed), runtime);
  Arguments arguments;
  for (const std::string& argument : typed) arguments.push_back(text::repaired(argument));

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
  if (first == "whoami") return status_of(seat::whoami(rest_of(arguments), runtime));
  if (first == "join") return status_of(seat::join(rest_of(arguments), runtime));
  if (first == "wait") return status_of(waiting::run(rest_of(arguments), runtime));
  if (first == "__complete") return status_of(Completion::run(rest_of(arguments), runtime));
  const Group* group = VerbTable::group(first);
  if (group == nullptr) {
    runtime.err("qv: unknown command \"" + arguments.front() + "\". Run `qv --help` for the list.");
    did_you_mean(meant_command(first), runtime);
    return status_of(ExitCode::usage);
  }
  return status_of(run_group(*group, rest_of(arguments), runtime));
}

}  // namespace qv
