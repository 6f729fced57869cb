// Prints a manual page: its hand-written source, in which a comment of the form
//
//   .\" %commands          stands for every group with its commands and their flags
//   .\" %flags NAME        stands for the flags of the command beside the groups of this name
//
// and @VERSION@ for the version. What is filled in comes from the tables by which the command
// line is parsed.

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

#include "base/files.h"
#include "base/io.h"
#include "base/text.h"
#include "cli/help.h"
#include "cli/specials.h"
#include "cli/verb_table.h"

namespace {

using namespace qv;

// Roff makes something of its own of these.
std::string escaped(std::string_view text) {
  struct Replacement {
    std::string_view text;
    std::string_view by;
  };
  constexpr Replacement kReplacements[] = {
      {"\\", "\\e"}, {"--", "\\-\\-"}, {"—", "\\(em"}, {"'", "\\(aq"}, {"\"", "\\(dq"}};
  std::string out;
  bool in_code = false;
  while (!text.empty()) {
    const auto replacement = std::ranges::find_if(
        kReplacements, [&](const auto& candidate) { return text.starts_with(candidate.text); });
    if (replacement != std::end(kReplacements)) {
      out += replacement->by;
      text.remove_prefix(replacement->text.size());
      continue;
    }
    if (text.front() == '`') {
      in_code = !in_code;
      out += in_code ? "\\fB" : "\\fP";
    } else {
      out += text.front();
    }
    text.remove_prefix(1);
  }
  return out;
}

// Whether a sentence ends before the blank at `end`, as the checker of manual pages sees it.
bool ends_sentence(std::string_view text, std::size_t end) {
  const auto is = [&](auto test, std::size_t i) {
    return test(static_cast<unsigned char>(text[i]));
  };
  return end > 2 && end + 1 < text.size() && text[end - 1] == '.' && is(isalnum, end - 2) &&
         is(isalnum, end - 3) && is(isupper, end + 1);
}

// Lines of roff: a sentence begins on a line of its own, and none is too long.
std::string prose(std::string_view text) {
  constexpr std::size_t kWidth = 79;
  const std::string source = escaped(text);
  std::string out;
  std::size_t begun = 0;  // where the line began in `out`
  for (std::size_t start = 0; start < source.size();) {
    const std::size_t end = std::min(source.find(' ', start), source.size());
    if (out.size() > begun && out.size() + 1 + end - start > begun + kWidth) {
      out += '\n';
      begun = out.size();
    }
    if (out.size() > begun) out += ' ';
    if (out.size() == begun && source[start] == '.') out += "\\&";
    out.append(source, start, end - start);
    if (ends_sentence(source, end)) {
      out += '\n';
      begun = out.size();
    }
    start = end + 1;
  }
  return out + "\n";
}

std::string_view argument(FlagKind kind) {
  switch (kind) {
    case FlagKind::string: return " Ar text";
    case FlagKind::integer: return " Ar n";
    case FlagKind::boolean: return "";
    case FlagKind::list: return " Ar a,b";
  }
  return "";
}

std::string flag_list(std::span<const Flag> flags) {
  std::string out = ".Bl -tag -width Ds\n";
  for (const Flag& flag : flags) {
    out.append(".It Fl -").append(flag.name).append(argument(flag.kind)).append("\n");
    std::string help(flag.help);
    if (flag.required && !help.ends_with('.')) help += '.';
    if (flag.required && !help.ends_with("Required.")) help += " Required.";
    out += prose(help);
  }
  return out + ".El\n";
}

std::string command(const Group& group, const Verb& verb) {
  std::string out = ".It Nm Cm ";
  out.append(group.name).append(" ").append(verb.name);
  for (const Flag& flag : verb.flags) {
    if (!Help::in_usage(flag)) continue;
    out.append(flag.required ? " Ar " : " Op Ar ").append(flag.name);
  }
  out += "\n" + prose(verb.summary);
  if (!verb.detail.empty()) out += ".Pp\n" + prose(verb.detail);
  return verb.flags.empty() ? out : out + flag_list(verb.flags);
}

std::string commands() {
  std::string out;
  for (const Group& group : VerbTable::groups()) {
    out.append(".Ss qv ").append(group.name).append("\n");
    out += prose(group.summary) + ".Bl -tag -width Ds\n";
    for (const Verb& verb : group.verbs) out += command(group, verb);
    out += ".El\n";
  }
  return out;
}

// What the line stands for; the line itself when it is none of ours.
std::string filled_in(std::string line) {
  constexpr std::string_view kFlags = ".\\\" %flags ";
  if (line == ".\\\" %commands") return commands();
  if (line.starts_with(kFlags)) {
    const auto special =
        std::ranges::find(kSpecials, std::string_view(line).substr(kFlags.size()), &Special::name);
    return special == std::end(kSpecials) ? "" : flag_list(special->flags);
  }
  constexpr std::string_view kVersion = "@VERSION@";
  const std::size_t version = line.find(kVersion);
  if (version != std::string::npos) line.replace(version, kVersion.size(), QV_VERSION);
  return line + "\n";
}

}  // namespace

int main(int argc, char** argv) {
  const auto source = argc == 2 ? files::read(argv[1]) : std::nullopt;
  if (!source) return 1;
  std::string page;
  for (const std::string_view line : text::split(text::trimmed(*source), '\n')) {
    page += filled_in(std::string(line));
  }
  return io::write_all(1, page) ? 0 : 1;
}
