#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qv {

// Runs the program at `path` (no search) with these arguments behind its name, this
// process's environment, directory and standard streams, and waits for its end. Gives its
// exit status, or 128 plus the number of the signal that ended it; absent with errno set
// when it could not be started. Leaves SIGCHLD at its default action.
[[nodiscard]] std::optional<int> run_in_foreground(const std::string& path,
                                                   const std::vector<std::string>& arguments);

}  // namespace qv
