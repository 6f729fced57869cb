#pragma once

#include <string>

namespace qv::platform {

// The C library that the program runs with, and its version where it says so.
[[nodiscard]] std::string c_library();

}  // namespace qv::platform
