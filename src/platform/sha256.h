#pragma once

#include <string>
#include <string_view>

namespace qv::platform {

// The SHA-256 digest as 64 lower-case hexadecimal digits.
[[nodiscard]] std::string sha256_hex(std::string_view bytes);

}  // namespace qv::platform
