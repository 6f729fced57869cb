#pragma once

namespace qv::platform {

// Seconds on a clock that only goes forward, and goes on while the machine sleeps where
// the system has such a clock.
[[nodiscard]] double monotonic_seconds();

// Seconds on a clock that only goes forward and stands still while the machine sleeps.
[[nodiscard]] double waking_seconds();

// Seconds since 1970, as the wall clock has it.
[[nodiscard]] double wall_clock_seconds();

}  // namespace qv::platform
