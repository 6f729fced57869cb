#pragma once

#include <string>
#include <vector>

#include "command/runtime.h"

namespace qv {

// Runs one command line (the bytes as typed, without the program's name); gives the
// process status.
[[nodiscard]] int run(const std::vector<std::string>& typed, CLIRuntime& runtime);

}  // namespace qv
