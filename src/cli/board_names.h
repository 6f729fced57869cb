#pragma once

#include "cli/completion.h"
#include "command/environment.h"

namespace qv::Completion {

// The names of this kind that the board knows, with what they stand for. Empty unless the
// board says so within the time that somebody who pressed a key can be kept waiting. Nothing is
// kept of the answer.
[[nodiscard]] Candidates names_on_board(Values values, const CLIEnvironment& env);

}  // namespace qv::Completion
