#pragma once

#include <cstdint>
#include <optional>

// What the machine says about itself.
namespace qv::platform {

// Memory pressure as the kernel judges it: 1 normal, 2 warning, 4 critical; 1 when it
// gives no judgement.
[[nodiscard]] int pressure_level();

// Processors this process may use now; at least 1.
[[nodiscard]] int active_cores();

// Bytes that could be had without swapping; absent when the system does not say.
[[nodiscard]] std::optional<std::uint64_t> available_memory();

}  // namespace qv::platform
