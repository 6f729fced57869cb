#pragma once

#include <string>
#include <vector>

#include "command/runtime.h"

namespace qv::seat {

// Runs `qv secret` with the arguments behind the word, byte for byte as they were typed:
// the broker gets them all. Gives the process status, which is mostly the broker's.
[[nodiscard]] int secret(const std::vector<std::string>& arguments, CLIRuntime& runtime);

}  // namespace qv::seat
