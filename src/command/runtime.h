#pragma once

#include <optional>

#include "base/output.h"
#include "command/environment.h"
#include "command/pane_state.h"

namespace qv {

// What every driver is handed: the environment, the pane's record and the two sinks.
// Results go to `out`, complaints and warnings to `err`. Environment and record are
// looked up when a command first asks for them: help and the version never do.
class CLIRuntime {
 public:
  Sink out;
  Sink err;

  CLIRuntime(Sink out_sink, Sink err_sink);

  [[nodiscard]] const CLIEnvironment& env();
  [[nodiscard]] PaneStateStore& state();

 private:
  std::optional<CLIEnvironment> env_;
  std::optional<PaneStateStore> state_;
};

}  // namespace qv
