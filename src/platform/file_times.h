#pragma once

#include <sys/stat.h>

#include <compare>
#include <cstdint>

namespace qv::platform {

struct FileTime {
  std::int64_t seconds = 0;  // since 1970
  std::int64_t nanoseconds = 0;

  // NOLINTNEXTLINE(modernize-use-nullptr): it means the zero in code that nobody wrote.
  auto operator<=>(const FileTime&) const = default;
};

// When the file's content last changed.
[[nodiscard]] FileTime modification_time(const struct stat& status);

}  // namespace qv::platform
