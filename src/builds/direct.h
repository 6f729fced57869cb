#pragma once

// The direct path: this process becomes the tool, and nothing of the coordinator is left.
namespace qv::build {

// Replaces the process by the program at `tool`, a path used as written. `arguments` and
// `environment` end with null; a null environment means the inherited one. Returns only
// on failure, with the error number.
[[nodiscard]] int replace_process(const char* tool, char* const* arguments,
                                  char* const* environment);

// Says why the tool cannot be started and exits as a shell would: 127 when there is no
// such file, 126 otherwise.
[[noreturn]] void give_up(const char* tool, int error);

}  // namespace qv::build
