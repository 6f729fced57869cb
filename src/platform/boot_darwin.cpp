#include "platform/boot.h"

namespace qv::platform {

std::optional<Boot> this_boot() { return std::nullopt; }

std::optional<double> boot_time_by_the_clock() { return std::nullopt; }

void count_from_boot_time(double) {}

Mark read_mark(int, std::string&) { return Mark::unsupported; }

void write_mark(int, const std::string&) {}

}  // namespace qv::platform
