#pragma once

#include <cstdint>
#include <string>

namespace qv::seat {

// Who this terminal is, and what it can reach.
struct SeatReport {
  std::string sessionID;
  std::string fingerprint;  // of its seat on the board; empty when none is known
  std::string handle;       // its short name on the board; may be empty
  bool boardAnswered = false;
  std::int64_t lastSeenRev = 0;
  bool hasCursor = false;
  bool boardUp = false;
  bool notesUp = false;
  bool vaultUp = false;
};

[[nodiscard]] std::string as_prose(const SeatReport& report);
[[nodiscard]] std::string as_json(const SeatReport& report);

}  // namespace qv::seat
