#include <sys/sysctl.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "base/text.h"
#include "platform/ancestors.h"
#include "platform/process_info_darwin.h"

namespace qv::platform {

pid_t parent_of(pid_t pid) {
  int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
  kinfo_proc record{};
  std::size_t size = sizeof record;
  return ::sysctl(name, 4, &record, &size, nullptr, 0) == 0 && size > 0 ? record.kp_eproc.e_ppid
                                                                        : 0;
}

bool was_started_with(pid_t pid, std::string_view variable) {
  const std::string start = std::string(variable) + "=";
  const std::string all = arguments_and_environment(pid);
  std::string_view bytes = all;
  std::int32_t arguments = 0;
  if (bytes.size() < sizeof arguments) return false;
  std::memcpy(&arguments, bytes.data(), sizeof arguments);
  bytes.remove_prefix(sizeof arguments);
  std::int64_t before = std::int64_t{arguments} + 1;  // the path counts too
  for (const std::string_view entry : text::split(bytes, '\0')) {
    if (entry.empty()) continue;  // an empty argument, or what fills up behind the path
    if (before > 0) {
      --before;
    } else if (entry.starts_with(start)) {
      return true;
    }
  }
  return false;
}

}  // namespace qv::platform
