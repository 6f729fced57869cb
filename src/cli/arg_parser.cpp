// The walk over the arguments stores what it meets; positions, requirements and standard
// input come after it, in that order. The first error ends it all.

#include "cli/arg_parser.h"

#include <algorithm>

#include "base/text.h"
#include "command/typed_flag.h"

namespace qv::ArgParser {

namespace {

std::optional<bool> boolean_word(std::string_view value) {
  const std::string word = text::lowered(value);
  if (word == "true" || word == "yes" || word == "1") return true;
  if (word == "false" || word == "no" || word == "0") return false;
  return std::nullopt;
}

class Parser {
 public:
  Parser(const std::vector<std::string>& arguments, const Verb& verb, const ReadInput& read_input)
      : arguments_(arguments), verb_(verb), read_input_(read_input) {}

  std::variant<Parsed, ParseError> run() {
    while (next_ < arguments_.size() && !error_) take(arguments_[next_++]);
    if (!error_) assign_positionals();
    if (!error_) check_required();
    if (!error_ && !parsed_.wantsHelp) read_inputs();
    if (error_) return ParseError{std::move(*error_), std::move(parsed_.unknown)};
    return std::move(parsed_);
  }

 private:
  using Inline = std::optional<std::string_view>;  // the part behind "="

  void take(std::string_view argument) {
    const auto typed = typed_flag(argument);
    if (!typed) {
      positionals_.emplace_back(argument);
    } else if (argument == "-h") {
      parsed_.wantsHelp = true;
    } else {
      take_flag(typed->name, typed->value);
    }
  }

  void take_flag(std::string_view name, Inline inline_value) {
    if (name == "json") {
      parsed_.wantsJSON = true;
      return;
    }
    if (name == "help") {
      parsed_.wantsHelp = true;
      return;
    }
    const auto flag = std::ranges::find(verb_.flags, name, &Flag::name);
    if (flag == verb_.flags.end()) {
      parsed_.unknown.emplace_back(name);
    } else if (flag->kind == FlagKind::boolean) {
      take_boolean(*flag, inline_value);
    } else if (inline_value) {
      store(*flag, *inline_value);
    } else if (next_ < arguments_.size()) {
      store(*flag, arguments_[next_++]);
    } else {
      fail("--" + std::string(name) + " needs a value.");
    }
  }

  // "--force", "--force=yes" and "--force no" all work; "--force T-3" leaves T-3 alone.
  void take_boolean(const Flag& flag, Inline inline_value) {
    if (inline_value) {
      store(flag, *inline_value);
    } else if (next_ < arguments_.size() && boolean_word(arguments_[next_])) {
      store(flag, arguments_[next_++]);
    } else {
      set(flag, true);
    }
  }

  void store(const Flag& flag, std::string_view value) {
    switch (flag.kind) {
      case FlagKind::string: set(flag, std::string(value)); return;
      case FlagKind::integer: {
        const auto number = text::whole_number(text::trimmed(value));
        if (!number) return fail(expectation(flag, "a whole number", value));
        set(flag, *number);
        return;
      }
      case FlagKind::boolean: {
        const auto word = boolean_word(value);
        if (!word) return fail(expectation(flag, "true or false", value));
        set(flag, *word);
        return;
      }
      case FlagKind::list: append_pieces(flag, value); return;
    }
  }

  void append_pieces(const Flag& flag, std::string_view value) {
    auto& stored = parsed_.box.values[std::string(flag.name)];
    if (!std::holds_alternative<std::vector<std::string>>(stored)) {
      stored = std::vector<std::string>{};
    }
    for (const std::string_view piece : text::split(value, ',')) {
      const std::string_view trimmed = text::trimmed(piece);
      if (!trimmed.empty()) std::get<std::vector<std::string>>(stored).emplace_back(trimmed);
    }
  }

  void assign_positionals() {
    const auto slots = std::ranges::count_if(
        verb_.flags, [](const Flag& flag) { return flag.positional != Position::none; });
    if (positionals_.size() > static_cast<std::size_t>(slots)) {
      return fail("this command takes at most " + std::to_string(slots) +
                  (slots == 1 ? " positional argument." : " positional arguments."));
    }
    for (const Flag& flag : verb_.flags) {
      if (flag.positional == Position::none) continue;
      const std::size_t index =
          flag.positional == Position::unlisted ? 0 : static_cast<std::size_t>(flag.positional);
      if (index < positionals_.size() && !parsed_.box.has(flag.name)) {
        store(flag, positionals_[index]);
      }
    }
  }

  // Whoever asks for help is often the one who does not know what is required.
  void check_required() {
    if (parsed_.wantsHelp) return;
    std::vector<std::string> missing;
    for (const Flag& flag : verb_.flags) {
      if (flag.required && !parsed_.box.has(flag.name)) {
        missing.push_back("--" + std::string(flag.name));
      }
    }
    if (missing.empty()) return;
    fail((missing.size() == 1 ? "missing required flag: " : "missing required flags: ") +
         text::joined(missing, ", "));
  }

  // Last, so that neither an error nor a call for help nor a "-" that a later value replaced
  // waits for what somebody types.
  void read_inputs() {
    std::optional<std::string> input;
    for (const Flag& flag : verb_.flags) {
      if (parsed_.box.text(flag.name) != "-") continue;
      if (!input) input = read_input_();
      if (!input) return fail("standard input is larger than anything a bridge takes.");
      set(flag, *input);
    }
  }

  void set(const Flag& flag, ArgBox::Value value) {
    parsed_.box.values.insert_or_assign(std::string(flag.name), std::move(value));
  }

  void fail(std::string message) { error_ = std::move(message); }

  static std::string expectation(const Flag& flag, std::string_view what, std::string_view value) {
    return "--" + std::string(flag.name) + " expects " + std::string(what) + ", got \"" +
           std::string(value) + "\".";
  }

  const std::vector<std::string>& arguments_;
  const Verb& verb_;
  const ReadInput& read_input_;
  std::size_t next_ = 0;
  std::vector<std::string> positionals_;
  Parsed parsed_;
  std::optional<std::string> error_;
};

}  // namespace

std::variant<Parsed, ParseError> parse(const std::vector<std::string>& arguments, const Verb& verb,
                                       const ReadInput& read_input) {
  return Parser(arguments, verb, read_input).run();
}

}  // namespace qv::ArgParser
