#pragma once

// The direct path: this process becomes the tool, and nothing of the coordinator is left.
namespace qv::build {

// A shell's exit statuses for a command that is not there, and one that cannot be run.
inline constexpr int kNoSuchCommand = 127;
inline constexpr int kNotExecutable = 126;

// Replaces the process by the program at `tool`, a path used as written. `arguments` and
// `environment` end with null; a null environment means the inherited one. Returns only
// on failure, with the error number.
[[nodiscard]] int replace_process(const char* tool, char* const* arguments,
                                  char* const* environment);

// Says why the tool cannot be started and exits as a shell would.
[[noreturn]] void give_up(const char* tool, int error);

}  // namespace qv::build
