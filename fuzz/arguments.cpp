// Whatever is typed behind a command is read, or refused with a sentence. What was read can be
// written out in full and reads the same again; what goes to a bridge is one line.

#include "base/text.h"
#include "board/request_builder.h"
#include "builds/job_knobs.h"
#include "cli/arg_parser.h"
#include "cli/specials.h"
#include "cli/verb_table.h"
#include "notes/request_builder.h"
#include "seat/options.h"
#include "support/support.h"
#include "waiting/wait_options.h"

namespace qv::fuzz {

namespace {

using Arguments = std::vector<std::string>;

// A word that begins with a control is the flag of that number.
Arguments with_flags(Arguments arguments, std::span<const Flag> flags) {
  for (std::string& word : arguments) {
    word = text::repaired(word);
    const auto number = static_cast<unsigned char>(word.empty() ? '-' : word[0]);
    if (number >= 0x20 || flags.empty()) continue;
    word.replace(0, 1, "--" + std::string(flags[number % flags.size()].name));
  }
  return arguments;
}

std::string written(const ArgBox::Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<std::int64_t>(&value)) return std::to_string(*number);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "yes" : "no";
  return text::joined(std::get<Arguments>(value), ",");
}

Arguments in_full(const ArgParser::Parsed& parsed) {
  Arguments arguments;
  for (const auto& [name, value] : parsed.box.values) {
    arguments.push_back("--" + name + "=" + written(value));
  }
  for (const std::string& name : parsed.unknown) arguments.push_back("--" + name);
  if (parsed.wantsJSON) arguments.emplace_back("--json");
  if (parsed.wantsHelp) arguments.emplace_back("--help");
  return arguments;
}

void check_request(const Group& group, const Verb& verb, const ArgBox& flags) {
  if (group.bridge == Bridge::notes) {
    check_stable(MCPRequestBuilder::build(verb.method, flags));
    return;
  }
  check_printed(TeamworkRequestBuilder::warning(flags));
  const auto outcome = TeamworkRequestBuilder::build(verb.method, flags);
  const auto* refused = std::get_if<TeamworkRequestBuilder::Refused>(&outcome);
  if (refused != nullptr) return check_printed(refused->message);
  check_stable(std::get<TeamworkRequest>(outcome));
}

void check_verb(const Group& group, const Verb& verb, const Arguments& arguments) {
  const auto input = [] { return std::optional<std::string>("what\nwas typed"); };
  const auto outcome = ArgParser::parse(arguments, verb, input);
  const auto next = ArgParser::next_after(arguments, verb);
  if (const auto* error = std::get_if<ArgParser::ParseError>(&outcome)) {
    promise(error->message.ends_with('.') || error->message.starts_with("missing"),
            "an error is a sentence", error->message);
    return check_printed(error->message);
  }
  promise(next.has_value(), "what can be read can be completed", text::joined(arguments, " "));
  const auto& parsed = std::get<ArgParser::Parsed>(outcome);
  const Arguments full = in_full(parsed);
  const auto again = ArgParser::parse(full, verb, input);
  const auto* same = std::get_if<ArgParser::Parsed>(&again);
  promise(same != nullptr && same->box.values == parsed.box.values, "in full it reads the same",
          text::joined(full, " "), text::joined(arguments, " "));
  promise(in_full(*same) == full, "with all that is about it", text::joined(full, " "));
  if (!parsed.wantsHelp) check_request(group, verb, parsed.box);
}

void check_wait(const Arguments& arguments) {
  const auto outcome = waiting::parse_wait_options(arguments);
  if (const auto* error = std::get_if<waiting::UsageError>(&outcome)) {
    return check_printed(error->message);
  }
  const auto& options = std::get<waiting::WaitOptions>(outcome);
  promise(options.timeout_seconds.value_or(1) > 0, "time passes");
  promise(!options.scope || !options.scope->empty(), "a scope has tasks");
  promise(!options.follow || !options.stand_down, "nobody follows who stands down");
}

void check_seat(const Arguments& typed, std::span<const Flag> flags) {
  const Arguments arguments = with_flags(typed, flags);
  const seat::Options options = seat::parse_options(arguments, flags);
  Arguments full = options.words;
  for (const auto& [name, value] : options.values) full.push_back("--" + name + "=" + value);
  for (const std::string& name : options.unknown) full.push_back("--" + name);
  if (options.wantsJSON) full.emplace_back("--json");
  if (!options.nameless.empty()) full.push_back("--" + options.nameless);
  const seat::Options again = seat::parse_options(full, flags);
  promise(again.words == options.words && again.values == options.values &&
              again.unknown == options.unknown && again.nameless == options.nameless &&
              again.wantsJSON == options.wantsJSON,
          "in full it reads the same", text::joined(full, " "), text::joined(arguments, " "));
}

void check_build(const std::string& tool, Arguments arguments) {
  build::Environment environment;
  if (!arguments.empty() && arguments.back().starts_with("GOFLAGS=")) {
    environment["GOFLAGS"] = arguments.back().substr(8);
    arguments.pop_back();
  }
  const std::string asked(build::action_of(tool, arguments));
  const bool release = build::is_release(tool, arguments);
  const bool runs = build::runs_its_result(tool, arguments);
  promise(!runs || !asked.empty(), "what runs its result builds it", tool);
  const auto knob = build::BuildJobKnob::find(tool, arguments, environment, 3);
  promise(knob.has_value() == build::is_coordinated(tool, arguments, environment),
          "each build that is coordinated has a knob", tool);
  if (!knob) return;
  const Arguments before = arguments;
  knob->apply(arguments, environment);
  promise(!build::is_coordinated(tool, arguments, environment), "a count that is set is seen", tool,
          text::joined(before, " "));
  promise(
      build::action_of(tool, arguments) == asked && build::is_release(tool, arguments) == release,
      "it is still the same build", text::joined(arguments, " "), text::joined(before, " "));
}

}  // namespace

// The words of a command line with zero bytes between them. A group that there is not stands for
// the verb of its first byte.
void try_input(std::string_view bytes) {
  Arguments typed;
  for (const auto word : text::split(bytes, '\0')) typed.emplace_back(word);
  const std::string first = typed[0];
  typed.erase(typed.begin());
  if (first == "wait") return check_wait(with_flags(typed, waiting::kWaitFlags));
  if (first == "whoami") return check_seat(typed, seat::kWhoamiFlags);
  if (first == "join") return check_seat(typed, seat::kJoinFlags);
  if (typed.empty()) return;
  const std::string second = typed[0];
  if (first == "__build") return check_build(second, {typed.begin() + 1, typed.end()});
  std::size_t number = first.empty() ? 0 : static_cast<unsigned char>(first[0]);
  for (const Group& group : VerbTable::groups()) {
    const Verb* verb = group.name == first ? group.verb(second) : nullptr;
    if (verb == nullptr && number < group.verbs.size()) verb = &group.verbs[number];
    number -= group.verbs.size();
    if (verb == nullptr) continue;
    typed.erase(typed.begin());
    return check_verb(group, *verb, with_flags(typed, verb->flags));
  }
}

}  // namespace qv::fuzz
