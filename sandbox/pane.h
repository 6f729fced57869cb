#pragma once

#include <string>
#include <vector>

#include "command.h"
#include "instance.h"

namespace qv::sandbox {

// This program's own file, found through the first argument it was started with, links
// resolved; the argument itself when it cannot be found.
[[nodiscard]] std::string program_path(const std::string& first_argument);

// What a program in a pane of the sandbox finds in its environment: who the pane is, where
// the bridges are, and, first in the search path, the qv that lies beside `program`.
[[nodiscard]] Variables pane_variables(const Instance& instance, const std::string& session,
                                       const std::string& program);

// What an agent outside of any pane finds: nothing of the above but a session to be admitted
// as, and a home in which the sandbox is the app that runs.
[[nodiscard]] Variables outside_variables(const Instance& instance, const std::string& program);

// The user's own shell.
[[nodiscard]] std::vector<std::string> shell();

}  // namespace qv::sandbox
