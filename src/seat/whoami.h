#pragma once

#include <string>
#include <vector>

#include "command/exit_code.h"
#include "command/runtime.h"

namespace qv::seat {

// Runs `qv whoami` with the arguments behind the word: reports which pane and seat this
// terminal is, or sets its name.
[[nodiscard]] ExitCode whoami(const std::vector<std::string>& arguments, CLIRuntime& runtime);

}  // namespace qv::seat
