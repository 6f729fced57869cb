#pragma once

#include <span>
#include <string>
#include <string_view>

#include "command/runtime.h"
#include "command/verb.h"

namespace qv {

// After the sentence about a word that is not known: what was probably meant, unless that is
// empty. To a person only, since what reads standard error as data gets the lines it knows.
void did_you_mean(std::string_view meant, CLIRuntime& runtime);

// Which of a command's flags was probably meant, as it is typed; empty when none is near. Each
// command knows --json and --help besides its own.
[[nodiscard]] std::string meant_flag(std::string_view typed, std::span<const Flag> flags);

// Tells of a flag, without dashes, that `command`, as it is typed, knows nothing of and passes
// over.
void ignore_unknown_flag(std::string_view flag, std::string_view command,
                         std::span<const Flag> flags, CLIRuntime& runtime);

}  // namespace qv
