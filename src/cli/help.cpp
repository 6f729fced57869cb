#include "cli/help.h"

#include <algorithm>

#include "base/text.h"
#include "cli/specials.h"
#include "cli/verb_table.h"

namespace qv::Help {

namespace {

constexpr std::string_view kOpening =
    "qv — the Quorvel board, notes and vault, from this terminal.\n"
    "\n"
    "USAGE\n"
    "  qv <group> <command> [args] [--json]\n"
    "  qv <group> --help          list the commands in one group\n"
    "  qv <command> --help        details and flags for one command\n"
    "\n"
    "GROUPS";

constexpr std::string_view kClosing =
    "\n\n"
    "GLOBAL\n"
    "  --json      Print the bridge's raw JSON instead of prose. Use this\n"
    "              when piping into jq; it is the stable machine surface.\n"
    "  --help      Show help at whatever level you are at.\n"
    "\n"
    "Every command runs against the Thread this terminal belongs to. Move the\n"
    "tab to another Thread and the same commands address that board instead.";

std::string_view placeholder(FlagKind kind) {
  switch (kind) {
    case FlagKind::string: return "<text>";
    case FlagKind::integer: return "<n>";
    case FlagKind::boolean: return "<bool>";
    case FlagKind::list: return "<a,b>";
  }
  return "";
}

template <class Rows>
std::size_t widest_name(const Rows& rows, std::size_t at_least) {
  for (const auto& row : rows) at_least = std::max(at_least, row.name.size());
  return at_least;
}

std::string usage_line(std::string_view command, const Verb& verb) {
  std::string out = "  " + std::string(command);
  for (const Flag& flag : verb.flags) {
    if (!in_usage(flag)) continue;
    out += flag.required ? " <" : " [";
    out += flag.name;
    out += flag.required ? '>' : ']';
  }
  if (!std::ranges::all_of(verb.flags, in_usage)) out += " [flags]";
  return out;
}

std::string flag_rows(const Verb& verb) {
  std::vector<std::string> forms;
  std::size_t width = 0;
  for (const Flag& flag : verb.flags) {
    std::string form = "--";
    form.append(flag.name).append(" ").append(placeholder(flag.kind));
    width = std::max(width, form.size());
    forms.push_back(std::move(form));
  }
  std::string out;
  for (std::size_t i = 0; i < forms.size(); ++i) {
    out += "\n  " + text::padded(forms[i], width) + "  ";
    out += verb.flags[i].help;
    if (verb.flags[i].required) out += " (required)";
  }
  return out;
}

}  // namespace

bool in_usage(const Flag& flag) {
  return flag.positional != Position::none && flag.positional != Position::unlisted;
}

std::string top_level() {
  constexpr std::size_t kNarrowest = 8;
  const std::size_t width = widest_name(VerbTable::groups(), kNarrowest);
  std::string out(kOpening);
  for (const Group& group : VerbTable::groups()) {
    out += "\n  " + text::padded(group.name, width) + "  ";
    out += group.summary;
  }
  for (const Special& special : kSpecials) {
    out += "\n  " + text::padded(special.name, width) + "  ";
    out += special.summary;
  }
  out += kClosing;
  return out;
}

std::string group(const Group& group) {
  const std::string name(group.name);
  std::string out = "qv " + name + " — ";
  out += group.summary;
  out += "\n\nCOMMANDS";
  const std::size_t width = widest_name(group.verbs, 0);
  for (const Verb& verb : group.verbs) {
    out += "\n  " + text::padded(verb.name, width) + "  ";
    out += verb.summary;
  }
  return out + "\n\nRun `qv " + name + " <command> --help` for a command's flags.";
}

std::string verb(const Group& group, const Verb& verb) {
  const std::string command = "qv " + std::string(group.name) + " " + std::string(verb.name);
  std::string out = command + " — ";
  out += verb.summary;
  if (!verb.detail.empty()) out.append("\n\n").append(verb.detail);
  out += "\n\nUSAGE\n" + usage_line(command, verb);
  if (!verb.flags.empty()) out += "\n\nFLAGS" + flag_rows(verb);
  const bool takes_text =
      std::ranges::any_of(verb.flags, [](const Flag& f) { return f.kind == FlagKind::string; });
  if (takes_text) out += "\n\nPass - as any text value to read it from stdin.";
  return out;
}

}  // namespace qv::Help
