#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "build/environment.h"

namespace qv::build {

// What one decision knows about the machine.
struct BuildMemory {
  int pressure = 1;                        // 1 normal, 2 warning, 4 critical
  int cores = 1;                           // active ones, as the system says
  std::optional<std::uint64_t> available;  // bytes to be had without swapping
  bool governed = true;                    // false: memory is nobody's business here
};

// Where readings come from; a test makes up its own.
class Readings {
 public:
  virtual ~Readings() = default;
  [[nodiscard]] virtual BuildMemory memory() const = 0;
  // True when this build belongs to the pane the user looks at.
  [[nodiscard]] virtual bool focused() const = 0;
};

// The real ones. `program` is this program as argument 0 names it: a marker file beside
// it switches the governing of memory off, and so does a variable.
class MachineReadings : public Readings {
 public:
  MachineReadings(const Environment& environment, const std::string& program,
                  const std::string& ledger_directory);
  [[nodiscard]] BuildMemory memory() const override;
  [[nodiscard]] bool focused() const override;

 private:
  bool switched_off_;
  std::string marker_path_;  // empty when argument 0 names no directory
  std::string session_;      // empty outside a pane
  std::string focus_path_;
};

}  // namespace qv::build
