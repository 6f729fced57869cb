// The kernel counts start times from its own start, which it places on the clock as that
// stands now: a step of the clock moves them all. So whoever compares them with what others
// wrote earlier has to use the same start of the system.

#include "platform/boot_linux.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "base/files.h"
#include "base/text.h"
#include "platform/boot.h"

namespace qv::platform {

namespace {

constexpr char kAttribute[] = "user.quorvel.boot";
constexpr std::size_t kLongestMark = 256;

std::optional<double> counted;

}  // namespace

std::optional<double> boot_time_by_the_clock() {
  const auto text = files::read("/proc/stat");
  const auto line = text ? text::line_after(*text, "btime ") : std::nullopt;
  const auto seconds = line ? text::whole_number(*line) : std::nullopt;
  return seconds ? std::optional(static_cast<double>(*seconds)) : std::nullopt;
}

std::optional<double> counted_boot_time() {
  if (!counted) counted = boot_time_by_the_clock();
  return counted;
}

void count_from_boot_time(double time) { counted = time; }

std::optional<Boot> this_boot() {
  char buffer[64];
  const auto id = files::read_at_once("/proc/sys/kernel/random/boot_id", buffer);
  struct stat status {};
  if (!id || ::stat("/proc/self/ns/pid", &status) != 0) return std::nullopt;
  return Boot{std::string(text::trimmed(*id)), std::to_string(status.st_ino)};
}

Mark read_mark(int directory, std::string& text) {
  char bytes[kLongestMark];
  const ssize_t count = ::fgetxattr(directory, kAttribute, bytes, sizeof bytes);
  if (count < 0) return errno == ENODATA ? Mark::none : Mark::unsupported;
  text.assign(bytes, static_cast<std::size_t>(count));
  return Mark::read;
}

void write_mark(int directory, const std::string& text) {
  ::fsetxattr(directory, kAttribute, text.data(), text.size(), 0);
}

}  // namespace qv::platform
