#include "platform/process.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "base/files.h"
#include "base/text.h"
#include "platform/boot_linux.h"

namespace qv::platform {

namespace {

constexpr std::size_t kStartField = 19;  // of those behind the name

// Asks in a way that takes neither a descriptor nor memory. Nobody waits for the dead.
bool is_surely_gone(pid_t pid) { return ::kill(pid, 0) != 0 && errno == ESRCH; }

}  // namespace

// /proc/PID/stat: "42 (name) S ...", where the name may hold anything; behind it come the
// state and, as the twentieth field, the start in clock ticks since the machine's own.
ProcessLook look_at_process(pid_t pid) {
  char buffer[1024];
  const auto line = files::read_at_once("/proc/" + std::to_string(pid) + "/stat", buffer);
  if (!line) {
    const bool gone = errno == ENOENT || errno == ESRCH || is_surely_gone(pid);
    return {gone ? ProcessLook::gone : ProcessLook::unknown};
  }
  const std::size_t name_end = line->rfind(") ");
  if (name_end == std::string_view::npos) return {};
  const std::string_view fields = line->substr(name_end + 2);
  const auto state = text::piece(fields, ' ', 0);
  if (state == "Z" || state == "X") return {ProcessLook::gone};
  const auto start = text::piece(fields, ' ', kStartField);
  const auto ticks = start ? text::whole_number(*start) : std::nullopt;
  const auto boot = counted_boot_time();
  if (!ticks || !boot) return {};
  const auto ticks_per_second = static_cast<double>(::sysconf(_SC_CLK_TCK));
  return {ProcessLook::alive, *boot + static_cast<double>(*ticks) / ticks_per_second,
          state == "T" || state == "t"};
}

}  // namespace qv::platform
