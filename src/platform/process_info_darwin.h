#pragma once

#include <sys/types.h>

#include <string>

namespace qv::platform {

// What the kernel keeps of a process's start: the number of arguments, the program's path, the
// arguments and then the environment, each text ended by a zero byte, with more zeros behind
// the path. Empty when it may not be had.
[[nodiscard]] std::string arguments_and_environment(pid_t pid);

}  // namespace qv::platform
