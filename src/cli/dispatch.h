#pragma once

#include <string>
#include <vector>

#include "cli/runtime.h"

namespace qv {

// Runs one command line (without the program's name); gives the process status.
[[nodiscard]] int run(const std::vector<std::string>& arguments, CLIRuntime& runtime);

}  // namespace qv
