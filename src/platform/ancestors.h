#pragma once

#include <sys/types.h>

#include <string_view>

namespace qv::platform {

// The process that started another; 0 when it cannot be found out.
[[nodiscard]] pid_t parent_of(pid_t pid);

// Whether the process was started with the variable in its environment, whatever its value.
// One that may not be asked says no.
[[nodiscard]] bool was_started_with(pid_t pid, std::string_view variable);

// Whether one of the processes that led to this one was. At most 64 are asked.
[[nodiscard]] bool an_ancestor_was_started_with(std::string_view variable);

}  // namespace qv::platform
