#pragma once

#include <optional>
#include <string>

// What a process id and a start time mean: which run of which system, seen from where.
namespace qv::platform {

struct Boot {
  std::string id;             // of this run of the system
  std::string pid_namespace;  // within which process ids are counted
};

// Absent where start times do not move with the clock and process ids are one set.
[[nodiscard]] std::optional<Boot> this_boot();

// When this run began, in seconds since 1970, as the clock has it now.
[[nodiscard]] std::optional<double> boot_time_by_the_clock();

// From now on start times are counted from this time, whatever the clock says by now.
void count_from_boot_time(double time);

// A text attached to an open directory, seen in no listing.
enum class Mark { read, none, unsupported };
[[nodiscard]] Mark read_mark(int directory, std::string& text);
void write_mark(int directory, const std::string& text);

}  // namespace qv::platform
