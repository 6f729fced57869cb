#pragma once

#include <cstdint>
#include <optional>

namespace qv::platform {

// What the machine says about itself, all at one time.
struct MachineReading {
  // Memory pressure as the kernel judges it: 1 normal, 2 warning, 4 critical; 1 when it
  // gives no judgement.
  int pressure_level = 1;
  // Processors this process may use now; at least 1.
  int active_cores = 1;
  // Bytes that could be had without swapping; absent when the system does not say.
  std::optional<std::uint64_t> available_memory;
};
[[nodiscard]] MachineReading read_machine();

}  // namespace qv::platform
