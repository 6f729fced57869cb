#pragma once

#include <string>
#include <string_view>

#include "instance.h"

namespace qv::sandbox {

// Where a pane finds its build tools before all others, and after all others.
[[nodiscard]] std::string tools_directory(const Instance& instance);
[[nodiscard]] std::string stand_in_directory(const Instance& instance);

// Fills them: `cargo`, `go` and `swift`, as far as they are on the PATH, run through qv, and
// where none is, a stand-in does. False when a file cannot be written.
[[nodiscard]] bool furnish_tools(const Instance& instance);

// Writes a script that can be run, and its directory where that is not there yet.
[[nodiscard]] bool write_program(const std::string& path, std::string_view script);

}  // namespace qv::sandbox
