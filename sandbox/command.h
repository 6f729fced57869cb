#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qv::sandbox {

// Variables to be set, or unset where the value is absent.
using Variables = std::vector<std::pair<std::string, std::optional<std::string>>>;

// What to do until `interrupt` can be read, at most for the time given (forever when negative).
using Meanwhile = std::function<void(int interrupt, int milliseconds)>;

// Keeps SIGTERM, SIGINT and SIGHUP waiting until run_command sees to them, so that what has
// been set up is also taken down.
void hold_endings();

// Runs a command as a terminal would: in a process group of its own, with the terminal, if
// there is one, in its hands. Gives its exit status, or 128 and the signal that ended it.
//
// SIGTERM, SIGINT and SIGHUP sent to this process end the command, by force after a second,
// and the status tells of the signal. What the command leaves behind in its group is hung up.
[[nodiscard]] int run_command(const std::vector<std::string>& command, const Variables& variables,
                              const Meanwhile& meanwhile);

}  // namespace qv::sandbox
