#pragma once

namespace qv::platform {

// Of the last `seconds` on the wall clock, those during which the machine was certainly
// awake.
[[nodiscard]] double certainly_awake(double seconds);

}  // namespace qv::platform
