#pragma once

#include <functional>

#include "builds/log.h"
#include "builds/tool_process.h"

namespace qv::build {

// Passes what the tool writes on to this process's own streams, and into the log, until
// both of the tool's streams are closed. Once the tool has ended, a stream that a process
// it left behind still holds open gets two seconds of silence. `log_lost` is called once,
// when the log takes no more; the output goes on without it.
void pump(ToolProcess& tool, BuildLogWriter& log, const std::function<void()>& log_lost);

}  // namespace qv::build
