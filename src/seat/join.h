#pragma once

#include <string>
#include <vector>

#include "command/exit_code.h"
#include "command/runtime.h"

namespace qv::seat {

// Runs `qv join` with the arguments behind the word: takes a seat in a Thread with the
// code the Thread showed, or takes the old one again with the stored secret.
[[nodiscard]] ExitCode join(const std::vector<std::string>& arguments, CLIRuntime& runtime);

}  // namespace qv::seat
