#pragma once

#include <string_view>

#include "command/runtime.h"

namespace qv {

// After the sentence about a word that is not known: what was probably meant, unless that is
// empty. To a person only, since what reads standard error as data gets the lines it knows.
void did_you_mean(std::string_view meant, CLIRuntime& runtime);

}  // namespace qv
