#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "board/changes.h"

// What moved, why the reader was woken, and what it still owes.
namespace qv::board {

// The sentence for a kind of wake; a general one for a kind this build does not know.
[[nodiscard]] std::string_view wake_sentence(std::string_view kind);

// One line, and an indented second one when the reason names its cause.
[[nodiscard]] std::string wake_reason(const TeamworkWakeReason& reason);

// Who a message is from, for people: "Name (KQ3)", or the handle alone.
[[nodiscard]] std::string sender(const TeamworkSquadMessage& message);

[[nodiscard]] std::string change_feed(const std::optional<TeamworkChangeFeed>& feed);

// One line; empty when nothing is owed.
[[nodiscard]] std::string obligations_summary(const TeamworkObligations& owed);

inline constexpr std::string_view kCompletionProposed =
    "Goal completion is proposed, awaiting the human.";

}  // namespace qv::board
