#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

namespace qv::platform {

struct FileTime {
  std::int64_t seconds = 0;  // since 1970
  std::int64_t nanoseconds = 0;

  auto operator<=>(const FileTime&) const = default;
};

// When the file's content last changed; absent when it cannot be had.
[[nodiscard]] std::optional<FileTime> modification_time(const std::string& path);

}  // namespace qv::platform
