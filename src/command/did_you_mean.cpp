#include "command/did_you_mean.h"

#include <unistd.h>

#include <string>

namespace qv {

void did_you_mean(std::string_view meant, CLIRuntime& runtime) {
  if (meant.empty() || ::isatty(STDERR_FILENO) != 1) return;
  runtime.err("Did you mean \"" + std::string(meant) + "\"?");
}

}  // namespace qv
