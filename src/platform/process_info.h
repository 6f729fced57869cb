#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// What a process can be recognised by.
namespace qv::platform {

// The words the process was started with, its program first; none when it is gone or may not
// be looked at.
[[nodiscard]] std::vector<std::string> command_line(pid_t pid);

// The folder the process works in; empty when it is gone or may not be looked at.
[[nodiscard]] std::string working_folder(pid_t pid);

// The file that this process runs, all links resolved; empty when the system does not say.
[[nodiscard]] std::string own_program();

}  // namespace qv::platform
