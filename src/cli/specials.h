#pragma once

#include "command/verb.h"
#include "seat/join.h"
#include "seat/secret.h"
#include "seat/whoami.h"
#include "waiting/wait_options.h"

namespace qv {

// A command that stands beside the groups. What its driver takes, as far as completion and the
// manual pages are to know of it.
struct Special {
  std::string_view name;
  std::string_view summary;
  std::span<const Flag> flags = {};        // `--help` left out
  std::span<const seat::Deed> words = {};  // one of these comes first
  bool takesHelp = true;
};

// In the order help lists them.
inline constexpr Special kSpecials[] = {
    {"wait", "Block until this board changes, then print what changed.", waiting::kWaitFlags},
    {"secret", "Use a Vault secret without ever seeing its value.", seat::kSecretFlags,
     seat::kSecretDeeds},
    {"whoami", "Which Thread and seat this terminal is.", seat::kWhoamiFlags},
    {"join", "Join this terminal to a Thread as an external agent seat.", seat::kJoinFlags},
    {.name = "brief", .summary = "The full protocol for working this board.", .takesHelp = false},
};

}  // namespace qv
