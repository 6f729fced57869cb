#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "command/arg_box.h"
#include "command/verb.h"

// Turns the arguments behind `qv GROUP VERB` into typed values. Unknown flags are
// collected, not refused: an agent that uses a newer flag against an older tool still
// gets its command run.
namespace qv::ArgParser {

struct Parsed {
  ArgBox box;
  bool wantsJSON = false;
  bool wantsHelp = false;
  std::vector<std::string> unknown;  // undeclared flags without dashes, in the order met
};

struct ParseError {
  std::string message;               // one sentence
  std::vector<std::string> unknown;  // as in Parsed, up to where the parse ended
};

// Yields all of standard input for the values that are "-"; absent when that is too much.
using ReadInput = std::function<std::optional<std::string>()>;

// The first error met ends the parse. A flag given by name wins over its position, and its
// last value over those before it.
[[nodiscard]] std::variant<Parsed, ParseError> parse(const std::vector<std::string>& arguments,
                                                     const Verb& verb, const ReadInput& read_input);

}  // namespace qv::ArgParser
