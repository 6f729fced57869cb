#pragma once

#include "cli/completion.h"
#include "command/environment.h"

namespace qv::Completion {

// The names of this kind that the board or the notes know, with what they stand for. Empty unless
// they say so within the time that somebody who pressed a key can be kept waiting. Nothing is
// kept of the answer.
[[nodiscard]] Candidates known_names(Values values, const CLIEnvironment& env);

}  // namespace qv::Completion
