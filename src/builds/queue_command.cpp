// Whoever waits wants to know for whom.

#include "builds/queue_command.h"

#include <unistd.h>

#include <chrono>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "base/io.h"
#include "builds/environment.h"
#include "builds/ledger_look.h"
#include "builds/queue_view.h"
#include "builds/readings.h"

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

  Options options_;
  OutputStream& out_;
  OutputStream& err_;
  std::string directory_;
  Readings readings_;
};

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

// Absent when the ledger cannot be seen, with a word about it.
std::optional<BuildQueue> View::look() {
  const LedgerLook look = look_at_ledger(directory_);
  if (look.problem.empty()) return queue_now(look.builds, readings_);
  err_.write_line("qv __builds: " + look.problem);
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
