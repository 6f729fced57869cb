#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <optional>

// What the machine says about itself and its processes.
namespace qv::platform {

// Memory pressure as the kernel judges it: 1 normal, 2 warning, 4 critical; 1 when it
// gives no judgement.
[[nodiscard]] int pressure_level();

// Processors this process may use now; at least 1.
[[nodiscard]] int active_cores();

// Bytes that could be had without swapping; absent when the system does not say.
[[nodiscard]] std::optional<std::uint64_t> available_memory();

// When the process started, in seconds since 1970; absent when there is no such process
// or it has ended and only waits for its parent to ask how. Two readers of one process
// get the same number.
[[nodiscard]] std::optional<double> start_time(pid_t pid);

}  // namespace qv::platform
