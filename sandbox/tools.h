#pragma once

#include <string>

#include "instance.h"

namespace qv::sandbox {

// Where a pane finds its build tools before all others.
[[nodiscard]] std::string tools_directory(const Instance& instance);

// Fills it: `cargo`, `go` and `swift`, as far as they are on the PATH, run through qv. False
// when a file cannot be written.
[[nodiscard]] bool furnish_tools(const Instance& instance);

}  // namespace qv::sandbox
