#pragma once

#include <string>
#include <vector>

#include "command/exit_code.h"
#include "command/runtime.h"
#include "command/verb.h"

namespace qv::seat {

inline constexpr Flag kJoinFlags[] = {{.name = "as", .help = "The name you would like to have."},
                                      {.name = "name", .help = "Another way to write --as."},
                                      kJSONFlag};

// Runs `qv join` with the arguments behind the word: takes a seat in a Thread with the
// code the Thread showed, or takes the old one again with the stored secret.
[[nodiscard]] ExitCode join(const std::vector<std::string>& arguments, CLIRuntime& runtime);

}  // namespace qv::seat
