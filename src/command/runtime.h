#pragma once

#include <optional>

#include "base/output.h"
#include "command/environment.h"
#include "command/pane_state.h"

namespace qv {

// What every driver is handed: the environment, the pane's record and the sinks,
// which end each text with a line feed. Results go to `out`, of a long one the parts but the last
// to `out_part`; complaints and warnings go to `err`. Environment and record are
// looked up when a command first asks for them: help and the version never do.
class CLIRuntime {
 public:
  Sink out;
  Sink out_part;
  Sink err;

  CLIRuntime(Sink out_sink, Sink out_part_sink, Sink err_sink);

  [[nodiscard]] const CLIEnvironment& env();
  [[nodiscard]] PaneStateStore& state();

 private:
  std::optional<CLIEnvironment> env_;
  std::optional<PaneStateStore> state_;
};

}  // namespace qv
