// The shells' scripts know nothing of qv but how to ask it. What comes next depends on where
// the parser would stand behind the words before, so the parser is asked for just that.

#include "cli/completion.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "cli/arg_parser.h"
#include "cli/known_names.h"
#include "cli/specials.h"
#include "cli/verb_table.h"

namespace qv::Completion {

namespace {

using Words = std::vector<std::string>;

constexpr Flag kHelp{.name = "help", .help = "Show help at this level."};
constexpr Flag kVersion{.name = "version", .help = "Show which version this is."};

bool is_flag_begun(std::string_view typed) { return typed.starts_with('-'); }

void add_flag(Candidates& out, const Flag& flag) {
  out.push_back({"--" + std::string(flag.name), std::string(flag.help)});
}

template <class Rows>
Candidates named(const Rows& rows) {
  Candidates out;
  for (const auto& row : rows) out.push_back({std::string(row.name), std::string(row.summary)});
  return out;
}

// Each with `before` in front of it: what has been typed of the same word already.
Candidates values_of(const Flag& flag, std::string_view before, const Names& names) {
  Candidates out;
  if (flag.kind == FlagKind::boolean) out = {{"true", ""}, {"false", ""}};
  for (const std::string_view word : flag.words) out.push_back({std::string(word), ""});
  if (flag.values != Values::any) out = names(flag.values);
  for (Candidate& candidate : out) candidate.word.insert(0, before);
  return out;
}

// `before`: what of the word stands before the value.
Candidates values_for(const Flag& flag, std::string_view typed, std::string_view before,
                      const Names& names) {
  std::size_t kept = before.size();
  if (flag.kind == FlagKind::list) kept = std::max(kept, typed.rfind(',') + 1);
  return values_of(flag, typed.substr(0, kept), names);
}

Candidates after_verb(const Verb& verb, const Words& before, std::string_view typed,
                      const Names& names) {
  const auto next = ArgParser::next_after(before, verb);
  if (!next) return {};
  if (next->value_of != nullptr && next->value_of->kind != FlagKind::boolean) {
    return values_for(*next->value_of, typed, "", names);
  }
  if (const std::size_t equals = typed.find('='); is_flag_begun(typed) && equals != typed.npos) {
    const auto flag = std::ranges::find(verb.flags, typed.substr(2, equals - 2), &Flag::name);
    if (flag == verb.flags.end()) return {};
    return values_for(*flag, typed, typed.substr(0, equals + 1), names);
  }
  Candidates out;
  if (!is_flag_begun(typed)) {
    if (next->value_of != nullptr) out = values_of(*next->value_of, "", names);
    if (next->positional != nullptr) {
      for (auto& value : values_for(*next->positional, typed, "", names)) {
        out.push_back(std::move(value));
      }
    }
    if (next->value_of != nullptr || next->positional != nullptr) return out;
  }
  for (const Flag* flag : next->left) add_flag(out, *flag);
  add_flag(out, kJSONFlag);
  add_flag(out, kHelp);
  return out;
}

Candidates after_group(const Group& group, const Words& before, std::string_view typed,
                       const Names& names) {
  if (before.empty()) {
    if (!is_flag_begun(typed)) return named(group.verbs);
    Candidates out;
    add_flag(out, kHelp);
    return out;
  }
  const Verb* verb = group.verb(before.front());
  if (verb == nullptr) return {};
  return after_verb(*verb, {before.begin() + 1, before.end()}, typed, names);
}

Candidates after_special(const Special& special, const Words& before, std::string_view typed,
                         const Names& names) {
  if (std::ranges::find(before, "--") != before.end()) return {};  // the rest is another's
  const auto flag_of = [&](const std::string& word) {
    return std::ranges::find_if(special.flags, [&](const Flag& flag) {
      return word.starts_with("--") && word.substr(2) == flag.name;
    });
  };
  std::vector<const Flag*> given;
  for (std::size_t i = 0; i < before.size(); ++i) {
    const auto flag = flag_of(before[i]);
    if (flag == special.flags.end()) continue;
    given.push_back(&*flag);
    if (flag->kind == FlagKind::boolean) continue;
    if (++i == before.size()) return values_for(*flag, typed, "", names);
  }
  if (!is_flag_begun(typed) && before.empty() && !special.words.empty()) {
    return named(special.words);
  }
  Candidates out;
  for (const Flag& flag : special.flags) {
    if (std::ranges::find(given, &flag) == given.end()) add_flag(out, flag);
  }
  if (special.takesHelp) add_flag(out, kHelp);
  return out;
}

}  // namespace

Candidates candidates(std::vector<std::string> words, const Names& names) {
  const std::string typed = words.empty() ? "" : words.back();
  if (!words.empty()) words.pop_back();
  if (words.empty()) {
    Candidates out;
    if (is_flag_begun(typed)) {
      add_flag(out, kHelp);
      add_flag(out, kVersion);
      return out;
    }
    out = named(VerbTable::groups());
    for (auto& special : named(kSpecials)) out.push_back(std::move(special));
    out.push_back({"help", std::string(kHelp.help)});
    return out;
  }
  const std::string first = words.front();
  words.erase(words.begin());
  if (const Group* group = VerbTable::group(first)) {
    return after_group(*group, words, typed, names);
  }
  const auto special = std::ranges::find(kSpecials, first, &Special::name);
  return special == std::end(kSpecials) ? Candidates{}
                                        : after_special(*special, words, typed, names);
}

ExitCode run(const std::vector<std::string>& words, CLIRuntime& runtime) {
  std::vector<std::string> lines;
  const auto names = [&](Values values) { return known_names(values, runtime.env()); };
  for (const auto& [word, help] : candidates(words, names)) lines.push_back(word + '\t' + help);
  if (!lines.empty()) runtime.out(text::joined(lines, "\n"));
  return ExitCode::ok;
}

}  // namespace qv::Completion
