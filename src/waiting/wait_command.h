#pragma once

#include <string>
#include <vector>

#include "cli/exit_code.h"
#include "cli/runtime.h"

namespace qv::waiting {

// `qv wait`: blocks until the board moves and prints what changed.
[[nodiscard]] ExitCode run(const std::vector<std::string>& arguments, CLIRuntime& runtime);

}  // namespace qv::waiting
