#pragma once

#include "cli/arg_parser.h"
#include "cli/exit_code.h"
#include "cli/runtime.h"
#include "cli/verb.h"

namespace qv::board {

// Runs one verb of the board groups: one request, one reply, printed as prose or, with
// `wantsJSON`, as the reply's own JSON.
[[nodiscard]] ExitCode run(const Verb& verb, const ArgParser::ArgBox& flags, bool wantsJSON,
                           CLIRuntime& runtime);

}  // namespace qv::board
