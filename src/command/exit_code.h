#pragma once

#include <array>
#include <cstddef>

namespace qv {

// How a command ended. Scripts and agents test the statuses, gaps included.
enum class ExitCode { ok, usage, unavailable, refused, notFound, unchanged };

[[nodiscard]] constexpr int status_of(ExitCode code) {
  constexpr std::array kStatuses{0, 2, 3, 4, 5, 10};
  return kStatuses[static_cast<std::size_t>(code)];
}

}  // namespace qv
