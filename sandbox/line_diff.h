#pragma once

#include <string>
#include <string_view>

namespace qv::sandbox {

// What has to be done to the lines of `before` to make `after` of them: the changed lines behind
// "-" and "+", below a line that says where in the old and the new text each group begins. Empty
// when they are the same.
[[nodiscard]] std::string line_diff(std::string_view before, std::string_view after);

}  // namespace qv::sandbox
