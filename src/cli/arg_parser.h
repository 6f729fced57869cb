#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "cli/verb.h"

// Turns the arguments behind `qv GROUP VERB` into typed values. Unknown flags are
// collected, not refused: an agent that uses a newer flag against an older tool still
// gets its command run.
namespace qv::ArgParser {

// The flags that were given. A flag of another kind than asked for reads as absent.
class ArgBox {
 public:
  using Value = std::variant<std::string, std::int64_t, bool, std::vector<std::string>>;

  std::map<std::string, Value, std::less<>> values;

  [[nodiscard]] bool has(std::string_view name) const { return values.contains(name); }
  [[nodiscard]] std::optional<std::string> text(std::string_view name) const {
    return value<std::string>(name);
  }
  [[nodiscard]] std::optional<std::int64_t> integer(std::string_view name) const {
    return value<std::int64_t>(name);
  }
  [[nodiscard]] std::optional<bool> boolean(std::string_view name) const {
    return value<bool>(name);
  }
  // Absent also when the flag was given without a single value.
  [[nodiscard]] std::optional<std::vector<std::string>> list(std::string_view name) const {
    return value<std::vector<std::string>>(name);
  }

  template <class T>
  [[nodiscard]] std::optional<T> value(std::string_view name) const {
    const auto found = values.find(name);
    const T* held = found == values.end() ? nullptr : std::get_if<T>(&found->second);
    if (held == nullptr) return std::nullopt;
    if constexpr (std::is_same_v<T, std::vector<std::string>>) {
      if (held->empty()) return std::nullopt;
    }
    return *held;
  }
};

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
