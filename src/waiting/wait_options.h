#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qv::waiting {

struct WaitOptions {
  bool json = false;
  bool follow = false;
  bool stand_down = false;
  bool wake_on_claims = false;
  std::optional<std::int64_t> timeout_seconds;    // none: no deadline
  std::optional<std::vector<std::string>> scope;  // none: the whole board
  std::optional<std::string> park_reason;
  std::optional<std::int64_t> since;  // none: the pane's cursor
};

struct UsageError {
  std::string message;
  std::string_view meant = {};  // the flag that was probably meant; mostly empty
};

// Reads the arguments behind `qv wait`, left to right; the first error wins. A flag's value
// is the next argument, whatever it looks like.
[[nodiscard]] std::variant<WaitOptions, UsageError> parse_wait_options(
    const std::vector<std::string>& arguments);

// The text of `qv wait --help`.
[[nodiscard]] std::string_view wait_help();

}  // namespace qv::waiting
