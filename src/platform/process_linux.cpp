#include "platform/process.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "base/descriptor.h"
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
  char text[1024];
  const std::string path = "/proc/" + std::to_string(pid) + "/stat";
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  const ssize_t count = file.valid() ? ::read(file.get(), text, sizeof text) : -1;
  if (count < 0) {
    const bool gone = errno == ENOENT || errno == ESRCH || is_surely_gone(pid);
    return {gone ? ProcessLook::gone : ProcessLook::unknown};
  }
  const std::string_view line(text, static_cast<std::size_t>(count));
  const std::size_t name_end = line.rfind(") ");
  if (name_end == std::string_view::npos) return {};
  const auto fields = text::split(line.substr(name_end + 2), ' ');
  if (fields[0] == "Z" || fields[0] == "X") return {ProcessLook::gone};
  const auto ticks =
      fields.size() > kStartField ? text::whole_number(fields[kStartField]) : std::nullopt;
  const auto boot = counted_boot_time();
  if (!ticks || !boot) return {};
  const auto ticks_per_second = static_cast<double>(::sysconf(_SC_CLK_TCK));
  return {ProcessLook::alive, *boot + static_cast<double>(*ticks) / ticks_per_second,
          fields[0] == "T" || fields[0] == "t"};
}

}  // namespace qv::platform
