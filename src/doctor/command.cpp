#include "doctor/command.h"

#include <string_view>

#include "command/help_flag.h"
#include "doctor/report.h"

namespace qv::doctor {

namespace {

constexpr std::string_view kHelp =
    R"(qv __doctor: why nothing answers, and what to do about it.

USAGE
  qv __doctor [--json]

For each bridge of the app: every socket that a variable, the seat file or a search points to,
who listens there, and how it answers a request that changes nothing. Then this pane's files,
the wrapped builds, and the machine. Tokens are never shown, and nothing is written.

FLAGS
  --json    The same as JSON.

EXIT
  0  every bridge that a command would talk to answers
  3  one does not)";

}  // namespace

ExitCode run(const std::string& program, const std::vector<std::string>& arguments,
             CLIRuntime& runtime) {
  if (asks_for_help(arguments)) {
    runtime.out(kHelp);
    return ExitCode::ok;
  }
  bool wants_json = false;
  for (const std::string& argument : arguments) {
    if (argument != "--json") {
      runtime.err("qv __doctor: unknown argument \"" + argument + "\". Run `qv __doctor --help`.");
      return ExitCode::usage;
    }
    wants_json = true;
  }
  const Report report = gather(program);
  runtime.out(wants_json ? record::to_pretty(report) : render(report));
  return report.healthy ? ExitCode::ok : ExitCode::unavailable;
}

}  // namespace qv::doctor
