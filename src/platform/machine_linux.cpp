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

constexpr std::size_t kLongestFile = 8192;  // as far as it is looked at

constexpr std::string_view kGroups = "/sys/fs/cgroup";
constexpr std::string_view kOfVersion2 = "0::";  // before the group's path, in the list of them

std::optional<std::uint64_t> number_in(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  return number;
}

std::optional<std::uint64_t> number_after(std::string_view text, std::string_view name) {
  const auto rest = text::line_after(text, name);
  return rest ? number_in(*rest) : std::nullopt;
}

std::optional<std::uint64_t> number_of_file(const std::string& path) {
  char buffer[64];
  const auto text = files::read_at_once(path, buffer);
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

LinuxMachine::LinuxMachine(std::string root) : root_(std::move(root)) {
  char buffer[kLongestFile];
  groups_ = files::read_at_once(root_ + "/proc/self/cgroup", buffer).value_or("");
  look_at_memory();
  look_at_groups();
}

int LinuxMachine::pressure_level() const {
  char buffer[kLongestFile];
  const auto text = files::read_at_once(root_ + "/proc/pressure/memory", buffer);
  if (!text) return 1;
  const auto stall = [&](std::string_view line) {
    const auto figure = text::line_after(*text, line);
    return figure ? std::strtod(std::string(*figure).c_str(), nullptr) : 0.0;
  };
  const auto is_scarce = [](const Room& each) {
    return each.available < each.total / kCriticalShare;
  };
  if (stall("full avg10=") >= kCriticalFullStall || std::ranges::any_of(rooms_, is_scarce)) {
    return 4;
  }
  return stall("some avg10=") >= kWarningSomeStall ? 2 : 1;
}

int LinuxMachine::cores_within_quota(int cores) const {
  const auto path = text::line_after(groups_, kOfVersion2);
  if (!path) return std::max(cores, 1);
  climb(root_ + std::string(kGroups), *path, [&](const std::string& group) {
    char buffer[64];
    const auto text =
        files::read_at_once(group + "/cpu.max", buffer);  // "max 100000", "150000 100000"
    if (!text) return;
    const auto quota = number_in(*text);
    const auto period = number_in(text->substr(std::min(text->find(' '), text->size())));
    if (!quota || !period || *period == 0) return;
    const std::uint64_t whole = (*quota + *period - 1) / *period;
    if (whole < static_cast<std::uint64_t>(cores)) cores = static_cast<int>(whole);
  });
  return std::max(cores, 1);
}

std::optional<std::uint64_t> LinuxMachine::available_memory() const {
  if (rooms_.empty()) return std::nullopt;
  return std::ranges::min(rooms_, {}, &Room::available).available;
}

void LinuxMachine::look_at_memory() {
  char buffer[kLongestFile];
  const auto text = files::read_at_once(root_ + "/proc/meminfo", buffer);
  const auto available = text ? number_after(*text, "MemAvailable:") : std::nullopt;
  const auto total = text ? number_after(*text, "MemTotal:") : std::nullopt;
  if (available && total) rooms_.push_back({*available * 1024, *total * 1024});
}

void LinuxMachine::look_at_groups() {
  const std::string top = root_ + std::string(kGroups);
  if (const auto path = text::line_after(groups_, kOfVersion2)) {
    climb(top, *path, [&](const std::string& group) { look_at_group(group, kVersion2); });
  }
  for (const std::string_view line : text::split(groups_, '\n')) {
    const auto names = text::piece(line, ':', 1);  // "5:cpu,memory:/user/build"
    const auto path = text::piece(line, ':', 2);
    if (!path || !is_in_list("memory", *names)) continue;
    climb(top + "/memory", *path,
          [&](const std::string& group) { look_at_group(group, kVersion1); });
  }
}

// A group's use includes the file cache, of which the inactive part is given back on demand.
void LinuxMachine::look_at_group(const std::string& group, const GroupFiles& names) {
  const auto limit = number_of_file(group + names.limit);
  const bool limited = limit && *limit < kUnlimited;
  const auto used = limited ? number_of_file(group + names.used) : std::nullopt;
  if (!used) return;
  char buffer[kLongestFile];
  const auto details = files::read_at_once(group + "/memory.stat", buffer);
  const auto cache = details ? number_after(*details, names.cache) : std::nullopt;
  const std::uint64_t firm = *used - std::min(*used, cache.value_or(0));
  rooms_.push_back({*limit - std::min(*limit, firm), *limit});
}

MachineReading read_machine() {
  cpu_set_t allowed;
  const int cores = ::sched_getaffinity(0, sizeof allowed, &allowed) == 0
                        ? CPU_COUNT(&allowed)
                        : static_cast<int>(std::thread::hardware_concurrency());
  const LinuxMachine machine("");
  return {machine.pressure_level(), machine.cores_within_quota(cores), machine.available_memory()};
}

}  // namespace qv::platform
