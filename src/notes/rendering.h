#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "notes/response.h"

namespace qv::notes {

// What the reader asked to see of a reply.
struct View {
  std::string_view method;             // the wire method that was sent
  std::optional<std::int64_t> offset;  // the first line of a note, counted from 1
  std::optional<std::int64_t> limit;   // how many lines of it
  std::optional<std::string> page;     // those lines, where they were taken from the reply
};

// The whole text for one reply: the body for its kind, then the bridge's notice and the
// Thread tag. A note is shown whole unless the view asks for lines.
[[nodiscard]] std::string render(const MCPBridgeResponse& response, const View& view);

}  // namespace qv::notes
