#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "command/verb.h"

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

// What can be given, each shortly; the help has more to say.
inline constexpr Flag kWaitFlags[] = {
    {.name = "follow",
     .kind = FlagKind::boolean,
     .help = "Do not exit on a change: print one line per move."},
    {.name = "timeout",
     .kind = FlagKind::integer,
     .help = "Give up after n seconds with nothing changed."},
    {.name = "scope",
     .kind = FlagKind::list,
     .help = "Only wake for these tasks. Default: the whole board.",
     .values = Values::tasks},
    {.name = "wake-on-claims",
     .kind = FlagKind::boolean,
     .help = "Also wake on a claim, a block and an unblock."},
    {.name = "park-reason", .help = "What you are waiting for, shown to the human."},
    {.name = "stand-down",
     .kind = FlagKind::boolean,
     .help = "You have finished: stay listening, but step off the pool."},
    {.name = "since",
     .kind = FlagKind::integer,
     .help = "Start from this revision instead of this pane's cursor."},
    kJSONFlag,
};

struct UsageError {
  std::string message;
  std::string unknown = {};  // the flag it is about, if that is not known
};

// Reads the arguments behind `qv wait`, left to right; the first error wins. A flag's value
// is the next argument, whatever it looks like.
[[nodiscard]] std::variant<WaitOptions, UsageError> parse_wait_options(
    const std::vector<std::string>& arguments);

// The text of `qv wait --help`.
[[nodiscard]] std::string_view wait_help();

}  // namespace qv::waiting
