#pragma once

#include <string>

#include "board/response.h"

namespace qv::board {

// What a `registered` reply says: the seat, the rules that come with a fresh one, and
// what the squad allows. `method` is the wire method that was sent.
[[nodiscard]] std::string seat_text(const TeamworkResponse& response, std::string_view method);

}  // namespace qv::board
