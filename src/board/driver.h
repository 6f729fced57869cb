#pragma once

#include "command/arg_box.h"
#include "command/exit_code.h"
#include "command/runtime.h"
#include "command/verb.h"

namespace qv::board {

// Runs one verb of the board groups: one request, one reply, printed as prose or, with
// `wantsJSON`, as the reply's own JSON.
[[nodiscard]] ExitCode run(const Verb& verb, const ArgBox& flags, bool wantsJSON,
                           CLIRuntime& runtime);

}  // namespace qv::board
