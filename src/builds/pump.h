#pragma once

#include "builds/log.h"
#include "builds/outlet.h"
#include "builds/pane_output.h"
#include "builds/running_lease.h"
#include "builds/tool_process.h"

namespace qv::build {

// Passes what the tool writes on to the pane, and into the log, until both of the tool's
// streams are closed and the tool has ended. A stream that a process it left behind still
// holds open gets two seconds of silence. The lease stops naming the log when that takes no
// more, and goes when nothing more can come; the pane may not have shown everything then.
void pump(ToolProcess& tool, BuildLogWriter& log, Outlet& outlet, PaneOutput& pane,
          RunningLease& lease);

}  // namespace qv::build
