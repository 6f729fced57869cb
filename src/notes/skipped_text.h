#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qv::notes {

// A stretch of text inside a JSON string: its bytes as written, and the line feeds it means.
struct Stretch {
  std::size_t bytes = 0;
  std::int64_t lines = 0;
};

// The stretch at the start that may be passed over unread: well-formed characters and short
// escapes, with at most `most_lines` line feeds. It ends, at the latest, in front of the end of
// the string and of what is malformed, and may end earlier: in front of what is rare, and near
// the end of the bytes.
[[nodiscard]] Stretch skippable_text(std::string_view bytes, std::int64_t most_lines);

}  // namespace qv::notes
