#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "builds/environment.h"

namespace qv::build {

// What one decision knows about the machine.
struct BuildMemory {
  int pressure = 1;                        // 1 normal, 2 warning, 4 critical
  int cores = 1;                           // active ones, or as many of them as the user grants
  std::optional<std::uint64_t> available;  // bytes to be had without swapping
  bool governed = true;                    // false: memory is nobody's business here
  bool bounded = false;                    // the user grants fewer cores than are active
};

// What one build asks the machine before each decision. `program` is this program as
// argument 0 names it: a marker file beside it switches the governing of memory off, and
// so does a variable. Another one bounds the cores.
class Readings {
 public:
  Readings(const Environment& environment, const std::string& program,
           const std::string& ledger_directory);
  [[nodiscard]] BuildMemory memory() const;
  // True when this build belongs to the pane the user looks at.
  [[nodiscard]] bool focused() const;

 private:
  bool switched_off_;
  std::optional<std::int64_t> granted_cores_;  // at least 1
  std::string marker_path_;                    // empty when argument 0 names no directory
  std::string session_;                        // empty outside a pane
  std::string focus_path_;
};

}  // namespace qv::build
