#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qv::platform {

// When the file's content last changed, in nanoseconds since 1970; absent when it cannot
// be had.
[[nodiscard]] std::optional<std::int64_t> modification_time(const std::string& path);

}  // namespace qv::platform
