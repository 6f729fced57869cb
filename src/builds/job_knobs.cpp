// One row per build tool: the words that make an invocation a build, how to see that the
// user chose a job count already (such a choice is never overruled), and where a count of
// ours goes. Some of those words also run what was built, and that is not to be shared.
// Everything is compared exactly; only release profiles ignore case.

#include "builds/job_knobs.h"

#include <algorithm>
#include <span>

#include "base/text.h"

namespace qv::build {

namespace {

using Words = std::span<const std::string_view>;

constexpr std::string_view kXcodebuildActions[] = {
    "build", "test", "archive", "analyze", "install", "build-for-testing", "test-without-building"};
constexpr std::string_view kCargoSubcommands[] = {
    "build", "b",     "test", "t", "check", "c",       "clippy",  "run",
    "r",     "bench", "doc",  "d", "rustc", "rustdoc", "install", "fix"};
constexpr std::string_view kCargoRuns[] = {"run", "r"};
constexpr std::string_view kSwiftSubcommands[] = {"build", "test", "run"};
constexpr std::string_view kGoSubcommands[] = {"build", "test", "install", "vet", "run"};

constexpr std::string_view kRun[] = {"run"};

enum class ActionAt { anywhere, first, firstWord };

bool sets_jobs_for_xcodebuild(const Arguments& arguments, const Environment& environment);
bool sets_jobs_for_cargo(const Arguments& arguments, const Environment& environment);
bool sets_jobs_for_swift(const Arguments& arguments, const Environment& environment);
bool sets_jobs_for_go(const Arguments& arguments, const Environment& environment);

BuildJobKnob xcodebuild_knob(const std::string& jobs, const Environment& environment);
BuildJobKnob cargo_knob(const std::string& jobs, const Environment& environment);
BuildJobKnob swift_knob(const std::string& jobs, const Environment& environment);
BuildJobKnob go_knob(const std::string& jobs, const Environment& environment);

bool is_release_for_xcodebuild(const Arguments& lowered);
bool is_release_for_cargo(const Arguments& lowered);
bool is_release_for_swift(const Arguments& lowered);
bool never_release(const Arguments&) { return false; }

struct Tool {
  std::string_view name;
  ActionAt action_at;
  Words actions;
  Words runs;  // those of the actions that run what they build
  bool (*sets_jobs)(const Arguments&, const Environment&);
  BuildJobKnob (*knob)(const std::string& jobs, const Environment&);
  bool (*is_release)(const Arguments& lowered);
};

constexpr Tool kTools[] = {
    {"xcodebuild",
     ActionAt::anywhere,
     kXcodebuildActions,
     {},
     sets_jobs_for_xcodebuild,
     xcodebuild_knob,
     is_release_for_xcodebuild},
    {"cargo", ActionAt::firstWord, kCargoSubcommands, kCargoRuns, sets_jobs_for_cargo, cargo_knob,
     is_release_for_cargo},
    {"swift", ActionAt::first, kSwiftSubcommands, kRun, sets_jobs_for_swift, swift_knob,
     is_release_for_swift},
    {"go", ActionAt::first, kGoSubcommands, kRun, sets_jobs_for_go, go_knob, never_release},
};

const Tool* find_tool(std::string_view name) {
  const auto* const found = std::ranges::find(kTools, name, &Tool::name);
  return found == std::end(kTools) ? nullptr : found;
}

bool is_one_of(std::string_view word, Words words) {
  return std::ranges::find(words, word) != words.end();
}

// The first of the words where this tool looks for its action; empty without one.
std::string_view find_action(const Tool& tool, Words words, const Arguments& arguments) {
  const auto stands_there = [&](const auto& word) {
    switch (tool.action_at) {
      case ActionAt::anywhere: return is_one_of(word, words);
      case ActionAt::first: return true;
      case ActionAt::firstWord: return !word.starts_with('-') && !word.starts_with('+');
    }
    return false;
  };
  const auto word = std::ranges::find_if(arguments, stands_there);
  if (word == arguments.end() || !is_one_of(*word, words)) return {};
  return *word;
}

bool contains(const Arguments& arguments, std::string_view word) {
  return std::ranges::find(arguments, word) != arguments.end();
}

bool contains_start(const Arguments& arguments, std::string_view start) {
  return std::ranges::any_of(arguments, [&](const auto& word) { return word.starts_with(start); });
}

// -j8 and the like; -jfoo is something else.
bool is_joined_job_count(std::string_view argument) {
  return argument.size() >= 3 && argument.starts_with("-j") &&
         std::ranges::all_of(argument.substr(2), [](char c) { return c >= '0' && c <= '9'; });
}

bool has_job_flag(const Arguments& arguments) {
  return contains(arguments, "-j") || contains_start(arguments, "--jobs") ||
         std::ranges::any_of(arguments, is_joined_job_count);
}

bool sets_jobs_for_xcodebuild(const Arguments& arguments, const Environment&) {
  return contains(arguments, "-jobs");
}

bool sets_jobs_for_cargo(const Arguments& arguments, const Environment& environment) {
  return find(environment, "CARGO_BUILD_JOBS") != nullptr || has_job_flag(arguments);
}

bool sets_jobs_for_swift(const Arguments& arguments, const Environment&) {
  return has_job_flag(arguments);
}

bool sets_jobs_for_go(const Arguments& arguments, const Environment& environment) {
  const std::string* flags = find(environment, "GOFLAGS");
  if (flags != nullptr &&
      (flags->find("-p=") != flags->npos || flags->find("-p ") != flags->npos)) {
    return true;
  }
  return contains(arguments, "-p") || contains_start(arguments, "-p=");
}

BuildJobKnob xcodebuild_knob(const std::string& jobs, const Environment&) {
  return {BuildJobKnob::InsertArguments{{"-jobs", jobs}, 0}};
}

BuildJobKnob cargo_knob(const std::string& jobs, const Environment&) {
  return {BuildJobKnob::SetVariable{"CARGO_BUILD_JOBS", jobs}};
}

BuildJobKnob swift_knob(const std::string& jobs, const Environment&) {
  return {BuildJobKnob::InsertArguments{{"-j", jobs}, 1}};
}

BuildJobKnob go_knob(const std::string& jobs, const Environment& environment) {
  const std::string* flags = find(environment, "GOFLAGS");
  return {
      BuildJobKnob::SetVariable{"GOFLAGS", (flags != nullptr ? *flags + " -p=" : "-p=") + jobs}};
}

// The argument behind the first of the flags; empty when there is none.
std::string_view value_after(const Arguments& arguments, Words flags) {
  const auto flag =
      std::ranges::find_if(arguments, [&](const auto& word) { return is_one_of(word, flags); });
  return flag == arguments.end() || flag + 1 == arguments.end() ? std::string_view()
                                                                : std::string_view(*(flag + 1));
}

bool is_release_for_xcodebuild(const Arguments& lowered) {
  static constexpr std::string_view kFlags[] = {"-configuration"};
  return contains(lowered, "archive") ||
         value_after(lowered, kFlags).find("release") != std::string_view::npos;
}

bool is_release_for_cargo(const Arguments& lowered) {
  return contains(lowered, "--release") || contains(lowered, "-r") ||
         std::ranges::any_of(lowered, [](const auto& word) {
           return word.starts_with("--profile") && word.find("release") != word.npos;
         });
}

bool is_release_for_swift(const Arguments& lowered) {
  static constexpr std::string_view kFlags[] = {"-c", "--configuration"};
  return contains(lowered, "-c=release") || contains(lowered, "--configuration=release") ||
         value_after(lowered, kFlags) == "release";
}

}  // namespace

bool is_build_tool(std::string_view name) { return find_tool(name) != nullptr; }

std::string_view action_of(std::string_view tool, const Arguments& arguments) {
  const Tool* known = find_tool(tool);
  return known == nullptr ? "" : find_action(*known, known->actions, arguments);
}

bool is_coordinated(std::string_view tool, const Arguments& arguments,
                    const Environment& environment) {
  const Tool* known = find_tool(tool);
  return known != nullptr && !find_action(*known, known->actions, arguments).empty() &&
         !known->sets_jobs(arguments, environment);
}

bool runs_its_result(std::string_view tool, const Arguments& arguments) {
  const Tool* known = find_tool(tool);
  return known != nullptr && !find_action(*known, known->runs, arguments).empty();
}

bool is_release(std::string_view tool, const Arguments& arguments) {
  const Tool* known = find_tool(tool);
  if (known == nullptr) return false;
  Arguments lowered;
  for (const std::string& argument : arguments) lowered.push_back(text::lowered(argument));
  return known->is_release(lowered);
}

std::optional<BuildJobKnob> BuildJobKnob::find(std::string_view tool, const Arguments& arguments,
                                               const Environment& environment, std::int64_t jobs) {
  if (!is_coordinated(tool, arguments, environment)) return std::nullopt;
  return find_tool(tool)->knob(std::to_string(jobs), environment);
}

void BuildJobKnob::apply(Arguments& arguments, Environment& environment) const {
  if (const auto* variable = std::get_if<SetVariable>(&change)) {
    environment[variable->name] = variable->value;
    return;
  }
  const auto& insert = std::get<InsertArguments>(change);
  const auto at = static_cast<std::ptrdiff_t>(std::min(insert.at, arguments.size()));
  arguments.insert(arguments.begin() + at, insert.arguments.begin(), insert.arguments.end());
}

}  // namespace qv::build
