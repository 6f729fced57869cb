#pragma once

#include <string>
#include <vector>

#include "command/exit_code.h"
#include "command/runtime.h"

namespace qv::doctor {

// Runs `qv __doctor` with the arguments behind the word: says how qv stands with the app and the
// machine, and what to do. `unavailable` when a bridge does not answer that ought to. `program` is
// this program as argument 0 names it.
[[nodiscard]] ExitCode run(const std::string& program, const std::vector<std::string>& arguments,
                           CLIRuntime& runtime);

}  // namespace qv::doctor
