// A line for each build, in columns as wide as they need to be. The folder comes last, since it
// may be long.

#include <algorithm>
#include <array>
#include <string_view>

#include "base/text.h"
#include "builds/queue_view.h"

namespace qv::build {

namespace {

using Row = std::array<std::string, 5>;
using Widths = std::array<std::size_t, 5>;

std::string two_digits(std::int64_t number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string duration(std::int64_t seconds) {
  const std::int64_t minutes = seconds / 60;
  if (minutes == 0) return std::to_string(seconds) + "s";
  if (minutes < 60) return std::to_string(minutes) + "m " + two_digits(seconds % 60) + "s";
  return std::to_string(minutes / 60) + "h " + two_digits(minutes % 60) + "m";
}

std::string gibibytes(std::int64_t bytes) {
  const std::int64_t tenths = bytes / 1024 * 10 / (1024 * 1024);
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " GiB";
}

std::string standing(const QueuedBuild& build) {
  std::string words = build.running
                          ? std::to_string(build.jobs) + (build.jobs == 1 ? " job" : " jobs")
                          : "for " + build.waitsFor.value_or("its turn") + ", " +
                                std::to_string(build.ahead.value_or(0)) + " ahead";
  if (build.focused) words += ", focused";
  if (build.stopped) words += ", stopped";
  return words;
}

Row row_of(const QueuedBuild& build) {
  std::string command = build.tool.value_or("(unknown)");
  if (build.subcommand) command += " " + *build.subcommand;
  Row row{std::to_string(build.pid), duration(build.ageSeconds), std::move(command),
          standing(build), build.folder.value_or("(unknown)")};
  for (std::string& cell : row) text::put_on_one_line(cell);  // folders have any names
  return row;
}

// The last column needs no blanks behind it.
std::string line_of(const Row& row, const Widths& widths) {
  std::string line;
  for (std::size_t i = 0; i + 1 < row.size(); ++i) line += "  " + text::padded(row[i], widths[i]);
  return line + "  " + row.back() + "\n";
}

}  // namespace

std::string render(const BuildMachine& machine) {
  std::string line = std::to_string(machine.cores) + (machine.cores == 1 ? " core, " : " cores, ") +
                     std::to_string(machine.jobsInUse) + " of " +
                     std::to_string(machine.jobBudget) + " jobs in use. Memory: ";
  if (machine.availableMemoryBytes) {
    line += gibibytes(*machine.availableMemoryBytes) + " free, ";
  }
  line += "pressure " + std::string(record::word(machine.memoryPressure)) + ".";
  if (!machine.memoryGoverned) line += " The governing of memory is off.";
  return line;
}

std::string render(const BuildQueue& queue) {
  if (queue.builds.empty()) return "No wrapped build runs or waits.";
  Widths widths{};
  for (const QueuedBuild& build : queue.builds) {
    const Row row = row_of(build);
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], text::count_characters(row[i]));
    }
  }
  std::string out;
  for (const bool running : {true, false}) {
    std::string lines;
    for (const QueuedBuild& build : queue.builds) {
      if (build.running == running) lines += line_of(row_of(build), widths);
    }
    if (!lines.empty()) out += (running ? "RUNNING\n" : "WAITING\n") + lines + "\n";
  }
  return out + render(queue.machine);
}

}  // namespace qv::build
