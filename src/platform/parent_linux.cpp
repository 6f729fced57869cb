// An orphan goes to process 1, or to a subreaper in between, so it is the change that shows it.
// Two parents look like an orphan's from the start and are none. Parent 0 is a process outside
// this process's namespace: a container's first process has it, and so has a command that was
// sent into a container. Process 1 itself is the shell of somebody who started a container with
// one, and then both have that person's terminal.

#include "platform/parent.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "base/files.h"

namespace qv::platform {

namespace {

// /proc/PID/stat: "42 (name) S parent group session terminal ...", where the name may hold
// anything. 0 when the process has no controlling terminal or cannot be seen.
int terminal_of(const std::string& process) {
  const std::string text = files::read("/proc/" + process + "/stat").value_or("");
  const std::size_t name_end = text.rfind(')');
  int terminal = 0;
  if (name_end == std::string::npos) return 0;
  return std::sscanf(text.c_str() + name_end, ") %*c %*d %*d %*d %d", &terminal) == 1 ? terminal
                                                                                      : 0;
}

}  // namespace

bool parent_has_gone(pid_t parent_at_start) {
  const pid_t parent = ::getppid();
  if (parent == 0) return false;
  if (parent != parent_at_start) return true;
  if (parent > 1) return false;
  const int terminal = terminal_of("self");
  return terminal == 0 || terminal != terminal_of("1");
}

}  // namespace qv::platform
