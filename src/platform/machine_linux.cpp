// Linux has no single word for memory pressure, so it is put together from two readings.
// Stall information tells how long tasks waited for memory; but without swap the kernel
// reclaims in silence until it kills, so nearly no memory left counts as critical too.
// What the machine has is not what a process may use: every control group from its own
// up to the root can hold it to less.

#include "platform/machine_linux.h"

#include <sched.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string_view>
#include <thread>

#include "base/files.h"
#include "base/text.h"
#include "platform/machine.h"

namespace qv::platform {

namespace {

// Shares of time (percent, over ten seconds) in which all tasks, or some, stood still for
// want of memory; and the share of memory (one in twenty) below which it is critical.
constexpr double kCriticalFullStall = 10;
constexpr double kWarningSomeStall = 10;
constexpr std::uint64_t kCriticalShare = 20;

// What version 1 of control groups says where there is no limit is more than this.
constexpr std::uint64_t kUnlimited = std::uint64_t{1} << 62;

constexpr std::string_view kGroups = "/sys/fs/cgroup";
constexpr std::string_view kOfVersion2 = "0::";  // before the group's path, in the list of them

std::optional<std::uint64_t> number_in(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  return number;
}

// The rest of the first line that starts with `name`.
std::optional<std::string_view> line_after(std::string_view text, std::string_view name) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (line.starts_with(name)) return line.substr(name.size());
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  return std::nullopt;
}

std::optional<std::uint64_t> number_after(std::string_view text, std::string_view name) {
  const auto rest = line_after(text, name);
  return rest ? number_in(*rest) : std::nullopt;
}

std::optional<std::uint64_t> number_of_file(const std::string& path) {
  const auto text = files::read(path);
  return text ? number_in(*text) : std::nullopt;
}

bool is_in_list(std::string_view word, std::string_view list) {
  return std::ranges::count(text::split(list, ','), word) > 0;
}

// Visits the group at `path` below `top` and every one above it.
template <class Visit>
void climb(const std::string& top, std::string_view path, Visit visit) {
  std::string group = top + std::string(path);
  while (group.size() > top.size()) {
    if (!group.ends_with('/')) visit(group);
    group.resize(group.rfind('/'));
  }
  visit(top);
}

}  // namespace

// What the two versions of control groups call the same. Of version 1 only memory counts.
struct LinuxMachine::GroupFiles {
  const char* limit;
  const char* used;
  std::string_view cache;  // its line in memory.stat
};
constexpr LinuxMachine::GroupFiles LinuxMachine::kVersion1{
    "/memory.limit_in_bytes", "/memory.usage_in_bytes", "total_inactive_file "};
constexpr LinuxMachine::GroupFiles LinuxMachine::kVersion2{"/memory.max", "/memory.current",
                                                           "inactive_file "};

int LinuxMachine::pressure_level() const {
  const auto text = files::read(root_ + "/proc/pressure/memory");
  if (!text) return 1;
  const auto stall = [&](std::string_view line) {
    const auto figure = line_after(*text, line);
    return figure ? std::strtod(std::string(*figure).c_str(), nullptr) : 0.0;
  };
  if (stall("full avg10=") >= kCriticalFullStall || memory_is_scarce()) return 4;
  return stall("some avg10=") >= kWarningSomeStall ? 2 : 1;
}

int LinuxMachine::cores_within_quota(int cores) const {
  const auto membership = files::read(root_ + "/proc/self/cgroup");
  const auto path = membership ? line_after(*membership, kOfVersion2) : std::nullopt;
  if (!path) return std::max(cores, 1);
  climb(root_ + std::string(kGroups), *path, [&](const std::string& group) {
    const auto text = files::read(group + "/cpu.max");  // "max 100000" or "150000 100000"
    if (!text) return;
    const auto quota = number_in(*text);
    const auto period =
        number_in(std::string_view(*text).substr(std::min(text->find(' '), text->size())));
    if (!quota || !period || *period == 0) return;
    const std::uint64_t whole = (*quota + *period - 1) / *period;
    if (whole < static_cast<std::uint64_t>(cores)) cores = static_cast<int>(whole);
  });
  return std::max(cores, 1);
}

std::optional<std::uint64_t> LinuxMachine::available_memory() const {
  std::optional<std::uint64_t> least;
  for_each_room(
      [&](const Room& room) { least = std::min(least.value_or(room.available), room.available); });
  return least;
}

bool LinuxMachine::memory_is_scarce() const {
  bool scarce = false;
  for_each_room(
      [&](const Room& room) { scarce = scarce || room.available < room.total / kCriticalShare; });
  return scarce;
}

std::optional<LinuxMachine::Room> LinuxMachine::machine_room() const {
  const auto text = files::read(root_ + "/proc/meminfo");
  if (!text) return std::nullopt;
  const auto available = number_after(*text, "MemAvailable:");
  const auto total = number_after(*text, "MemTotal:");
  if (!available || !total) return std::nullopt;
  return Room{*available * 1024, *total * 1024};
}

// A group's use includes the file cache, of which the inactive part is given back on demand.
std::optional<LinuxMachine::Room> LinuxMachine::group_room(const std::string& group,
                                                           const GroupFiles& names) {
  const auto limit = number_of_file(group + names.limit);
  const bool limited = limit && *limit < kUnlimited;
  const auto used = limited ? number_of_file(group + names.used) : std::nullopt;
  if (!used) return std::nullopt;
  const auto details = files::read(group + "/memory.stat");
  const auto cache = details ? number_after(*details, names.cache) : std::nullopt;
  const std::uint64_t firm = *used - std::min(*used, cache.value_or(0));
  return Room{*limit - std::min(*limit, firm), *limit};
}

// The room in every group that bounds this process, and on the machine.
template <class Visit>
void LinuxMachine::for_each_room(Visit visit) const {
  const auto look = [&](const std::optional<Room>& room) {
    if (room) visit(*room);
  };
  look(machine_room());
  const auto membership = files::read(root_ + "/proc/self/cgroup");
  if (!membership) return;
  const std::string top = root_ + std::string(kGroups);
  if (const auto path = line_after(*membership, kOfVersion2)) {
    climb(top, *path, [&](const std::string& group) { look(group_room(group, kVersion2)); });
  }
  for (const std::string_view line : text::split(*membership, '\n')) {
    const auto fields = text::split(line, ':');  // "5:cpu,memory:/user/build"
    if (fields.size() < 3 || !is_in_list("memory", fields[1])) continue;
    climb(top + "/memory", fields[2],
          [&](const std::string& group) { look(group_room(group, kVersion1)); });
  }
}

int pressure_level() { return LinuxMachine("").pressure_level(); }

int active_cores() {
  cpu_set_t allowed;
  const int cores = ::sched_getaffinity(0, sizeof allowed, &allowed) == 0
                        ? CPU_COUNT(&allowed)
                        : static_cast<int>(std::thread::hardware_concurrency());
  return LinuxMachine("").cores_within_quota(cores);
}

std::optional<std::uint64_t> available_memory() { return LinuxMachine("").available_memory(); }

}  // namespace qv::platform
