#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qv::notes {

// One page of a note, each line behind its number, and below it where the page stands in
// the note when it is not the whole. `offset` is the first line wanted, counted from 1;
// `limit` how many lines, 2000 when absent. Smaller values count as 1.
[[nodiscard]] std::string line_page(std::string_view content, std::optional<std::int64_t> offset,
                                    std::optional<std::int64_t> limit);

}  // namespace qv::notes
