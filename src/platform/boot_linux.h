#pragma once

#include <optional>

namespace qv::platform {

// Seconds from 1970 to the start of the system, by which start times are counted.
[[nodiscard]] std::optional<double> counted_boot_time();

}  // namespace qv::platform
