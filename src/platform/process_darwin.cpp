#include "platform/process.h"

#include <sys/sysctl.h>
#include <sys/time.h>

#include <cerrno>

namespace qv::platform {

ProcessLook look_at_process(pid_t pid) {
  int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
  kinfo_proc record{};
  std::size_t size = sizeof record;
  if (::sysctl(name, 4, &record, &size, nullptr, 0) != 0) {
    return {errno == ESRCH ? ProcessLook::gone : ProcessLook::unknown};
  }
  if (size == 0 || record.kp_proc.p_stat == SZOMB) return {ProcessLook::gone};
  const timeval& start = record.kp_proc.p_starttime;
  return {ProcessLook::alive,
          static_cast<double>(start.tv_sec) + static_cast<double>(start.tv_usec) / 1'000'000.0,
          record.kp_proc.p_stat == SSTOP};
}

}  // namespace qv::platform
