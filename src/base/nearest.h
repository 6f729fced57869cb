#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace qv::text {

// How many letters have to be put in, left out, replaced or exchanged with their neighbour to
// make one word of the other. Bytes count as letters.
[[nodiscard]] std::size_t distance(std::string_view one, std::string_view other);

// The name that was probably meant, whatever the case of its letters and the dashes before it;
// the first of several that are equally near, and nothing when none is near enough for its length.
[[nodiscard]] std::string_view nearest(std::string_view typed,
                                       std::span<const std::string_view> names);

}  // namespace qv::text
