#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qv::seat {

// Who this terminal is, and what it can reach.
struct SeatReport {
  std::string sessionID;
  std::string fingerprint;  // of its seat on the board; empty when none is known
  std::string handle;       // its short name on the board; may be empty
  bool boardAnswered = false;
  std::optional<std::int64_t> lastSeenRev;  // absent when the pane's record could not be read
  bool hasCursor = false;
  bool boardUp = false;
  bool notesUp = false;
  bool vaultUp = false;
};

[[nodiscard]] std::string as_prose(const SeatReport& report);
[[nodiscard]] std::string as_json(const SeatReport& report);

}  // namespace qv::seat
