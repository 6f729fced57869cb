#pragma once

#include <string>
#include <vector>

#include "command/exit_code.h"
#include "command/runtime.h"

namespace qv::waiting {

// `qv wait`: blocks until the board moves and prints what changed.
[[nodiscard]] ExitCode run(const std::vector<std::string>& arguments, CLIRuntime& runtime);

}  // namespace qv::waiting
