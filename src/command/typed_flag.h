#pragma once

#include <optional>
#include <string_view>

#include "base/text.h"

namespace qv {

// A flag as it was typed: "--name", "--name=value" or "-n".
struct TypedFlag {
  std::string_view name;                  // without dashes
  std::optional<std::string_view> value;  // the part behind the first "="; may be empty
};

// Absent when the argument is a word: "-" itself, and what has one dash before several
// characters, as "-5x", are words too. The views point into the argument.
[[nodiscard]] inline std::optional<TypedFlag> typed_flag(std::string_view argument) {
  const bool two_dashes = argument.starts_with("--");
  if (!argument.starts_with('-') || argument == "-") return std::nullopt;
  if (!two_dashes && text::count_characters(argument) > 2) return std::nullopt;
  const std::string_view rest = argument.substr(two_dashes ? 2 : 1);
  const std::size_t equals = rest.find('=');
  if (equals == std::string_view::npos) return TypedFlag{rest, std::nullopt};
  return TypedFlag{rest.substr(0, equals), rest.substr(equals + 1)};
}

}  // namespace qv
