// Whoever waits wants to know for whom. Leases are renamed into place whole, so the ledger is
// read here without its lock and nothing is tidied up: looking never delays or changes a build.

#include "builds/queue_command.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "base/descriptor.h"
#include "base/io.h"
#include "builds/environment.h"
#include "builds/lease_files.h"
#include "builds/live_processes.h"
#include "builds/queue_view.h"
#include "builds/readings.h"
#include "builds/tenure.h"
#include "platform/clock.h"
#include "platform/machine.h"
#include "platform/process.h"
#include "platform/process_info.h"

namespace qv::build {

namespace {

constexpr int kUsage = 2;
constexpr int kUnavailable = 3;
constexpr std::chrono::seconds kPause{1};
constexpr std::string_view kHomeAndClear = "\x1b[H\x1b[2J";

constexpr std::string_view kHelp =
    R"(qv __builds: the wrapped builds of this user that run or wait.

USAGE
  qv __builds [--json] [--watch]

For each build: its process id, how long ago it asked, what it is, its jobs or what it waits
for and how many builds are before it, and its folder. The last line is about the machine.

FLAGS
  --json    One line of JSON instead of prose.
  --watch   Show it every second until interrupted. Where the output is no
            terminal, or JSON, only when something changed.)";

struct Options {
  bool json = false;
  bool watch = false;
};

class View {
 public:
  View(const std::string& program, const Options& options, OutputStream& out, OutputStream& err)
      : options_(options),
        out_(out),
        err_(err),
        directory_(ledger_directory()),
        readings_(read_environment(), program, directory_) {}

  int show();

 private:
  [[nodiscard]] std::optional<BuildQueue> look();
  std::nullopt_t refuse(const std::string& why);

  Options options_;
  OutputStream& out_;
  OutputStream& err_;
  std::string directory_;
  Readings readings_;
};

SeenBuild seen(LiveLease live) {
  const pid_t pid = live.lease.pid;
  live.stopped = platform::look_at_process(pid).stopped;
  return {std::move(live), platform::command_line(pid), platform::working_folder(pid)};
}

int View::show() {
  const bool redraws = options_.watch && !options_.json && ::isatty(STDOUT_FILENO) == 1;
  std::optional<BuildQueue> shown;
  for (;;) {
    const auto queue = look();
    if (!queue) return kUnavailable;
    auto lasting = without_time(*queue);
    if (redraws || lasting != shown) {
      if (redraws) (void)io::write_all(STDOUT_FILENO, kHomeAndClear);
      const std::string text = options_.json ? record::to_text(*queue) : render(*queue);
      if (!out_.write_line(text)) return kUnavailable;
      shown = std::move(lasting);
    }
    if (!options_.watch) return 0;
    std::this_thread::sleep_for(kPause);
    if (io::reader_has_gone(STDOUT_FILENO)) return kUnavailable;
  }
}

// Absent when that has been refused, with a word about it.
std::optional<BuildQueue> View::look() {
  std::vector<SeenBuild> builds;
  const Descriptor folder(::open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.valid()) {
    std::string mark;
    const Tenure whose = look_at_mark(folder.get(), mark);
    if (whose == Tenure::elsewhere) {
      return refuse("the builds in " + directory_ + " cannot be seen from here.");
    }
    LiveProcesses processes;
    for (const auto& file : LeaseFiles(folder.get()).read(processes, platform::waking_seconds())) {
      if (whose != Tenure::past && file.lease && file.alive)
        builds.push_back(seen({*file.lease, file.age}));
    }
  } else if (errno != ENOENT) {
    return refuse(directory_ + " cannot be read: " + std::strerror(errno) + ".");
  }
  BuildMemory memory = readings_.memory();
  if (!memory.available) memory.available = platform::available_memory();
  return queue_of(builds, memory, platform::wall_clock_seconds());
}

std::nullopt_t View::refuse(const std::string& why) {
  err_.write_line("qv __builds: " + why);
  return std::nullopt;
}

}  // namespace

int show_queue(const std::string& program, const std::vector<std::string>& arguments,
               OutputStream& out, OutputStream& err) {
  Options options;
  for (const std::string& argument : arguments) {
    if (argument == "--json") {
      options.json = true;
    } else if (argument == "--watch") {
      options.watch = true;
    } else if (argument == "--help" || argument == "-h") {
      return out.write_line(kHelp) ? 0 : kUnavailable;
    } else {
      err.write_line("qv __builds: unknown argument \"" + argument +
                     "\". Run `qv __builds --help`.");
      return kUsage;
    }
  }
  return View(program, options, out, err).show();
}

}  // namespace qv::build
