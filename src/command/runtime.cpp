#include "command/runtime.h"

#include <utility>

#include "platform/paths.h"

namespace qv {

CLIRuntime::CLIRuntime(Sink out_sink, Sink out_part_sink, Sink err_sink)
    : out(std::move(out_sink)), out_part(std::move(out_part_sink)), err(std::move(err_sink)) {}

const CLIEnvironment& CLIRuntime::env() {
  if (!env_) {
    env_ = CLIEnvironment::from(process_variable, platform::application_support_directory());
  }
  return *env_;
}

PaneStateStore& CLIRuntime::state() {
  if (!state_) state_.emplace(env().sessionID, env().board.socket);
  return *state_;
}

}  // namespace qv
