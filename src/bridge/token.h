#pragma once

#include <string>

namespace qv {

// The token a bridge expects: the content of `file` without the white space around it,
// or `seed` when the path is empty or the file says nothing. May be empty.
[[nodiscard]] std::string bridge_token(const std::string& file, const std::string& seed);

}  // namespace qv
