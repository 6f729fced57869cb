#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "board/changes.h"

// What a wait says: a move on one line, and why it stopped without one. All pure.
namespace qv::waiting {

enum class Ending { orphaned, appGone, timedOut, refused, notInAThread };

// The name an ending has in machine output.
[[nodiscard]] std::string_view name_of(Ending ending);

inline constexpr std::string_view kOrphaned =
    "qv wait, from Quorvel and not from the person: the terminal that started this wait has "
    "closed, so there is nothing left to wake. Nothing was missed: the board keeps its changes and "
    "the next wait resumes from this pane's cursor.";
inline constexpr std::string_view kAppGone =
    "qv wait, from Quorvel and not from the person: Quorvel is no longer running, so this wait "
    "cannot be answered. Start it again when the app is back.";

[[nodiscard]] std::string timed_out(std::optional<std::int64_t> timeout_seconds,
                                    std::int64_t cursor);

// An ending as one line of JSON.
[[nodiscard]] std::string ending_line(Ending ending, std::string_view message);

// A board move as one line of prose.
[[nodiscard]] std::string move_line(const TeamworkChangeFeed& feed);

}  // namespace qv::waiting
