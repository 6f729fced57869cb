#pragma once

namespace qv::build {

// Runs a build tool, coordinated with the other builds of this user where that makes
// sense. `program` is this program as argument 0 names it; `arguments` are the tool and
// its own arguments, ended by null. The exit status; does not return when the process is
// replaced by the tool.
[[nodiscard]] int run(const char* program, char** arguments);

}  // namespace qv::build
