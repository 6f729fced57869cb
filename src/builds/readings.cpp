#include "builds/readings.h"

#include "base/files.h"
#include "base/text.h"
#include "platform/machine.h"

namespace qv::build {

Readings::Readings(const Environment& environment, const std::string& program,
                   const std::string& ledger_directory)
    : switched_off_(is_on(environment, "QUORVEL_BUILD_MEMORY_OFF")),
      focus_path_(ledger_directory + "/focus") {
  if (program.find('/') != std::string::npos) {
    marker_path_ = files::directory_of(program) + "/.build-memory-off";
  }
  if (const std::string* cores = find(environment, "QUORVEL_BUILD_CORES")) {
    granted_cores_ = text::whole_number(*cores);
    if (granted_cores_ && *granted_cores_ < 1) granted_cores_.reset();
  }
  if (const std::string* session = find(environment, "QUORVEL_SESSION_ID")) session_ = *session;
}

BuildMemory Readings::memory() const {
  const platform::MachineReading machine = platform::read_machine();
  BuildMemory memory;
  memory.pressure = machine.pressure_level;
  memory.cores = machine.active_cores;
  memory.bounded = granted_cores_ && *granted_cores_ < memory.cores;
  if (memory.bounded) memory.cores = static_cast<int>(*granted_cores_);
  memory.governed = !switched_off_ && (marker_path_.empty() || !files::exists(marker_path_));
  if (memory.governed) memory.available = machine.available_memory;
  return memory;
}

bool Readings::focused() const {
  if (session_.empty()) return false;
  const auto focus = files::read(focus_path_);
  return focus && text::trimmed(*focus) == session_;
}

}  // namespace qv::build
