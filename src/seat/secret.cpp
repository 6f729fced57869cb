// The broker is a program of the app that uses secrets where this terminal cannot see
// them. All that is decided here is that a value is never asked for: `get` is refused
// before anything else is looked at, even outside a Thread.

#include "seat/secret.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "base/files.h"
#include "base/foreground.h"
#include "base/text.h"
#include "bridge/complaints.h"
#include "bridge/trust.h"
#include "command/exit_code.h"
#include "command/help_flag.h"

namespace qv::seat {

namespace {

constexpr std::string_view kHelp =
    "qv secret — use a Vault secret without ever seeing its value.\n"
    "\n"
    "USAGE\n"
    "  qv secret list                          names available to this Thread\n"
    "  qv secret exec NAME [NAME2 ...] -- CMD  run CMD with the secret resolved\n"
    "  qv secret get NAME                      refused, on purpose\n"
    "  qv secret suggest NAME HOST             propose one more destination; the user decides\n"
    "\n"
    "A value never reaches this terminal or your context. `exec` hands the\n"
    "command a path to an already-unlinked file, so the secret exists at no\n"
    "path anything can open. Use --env NAME only for a tool that cannot read\n"
    "a path, and know that it is readable by any same-uid process.";

// Whether all that asks for help stands behind "--", where it was meant for the command.
bool asks_in_the_command(const std::vector<std::string>& arguments) {
  const auto help = std::ranges::find_if(arguments, is_help_flag);
  return help != arguments.end() && std::find(arguments.begin(), help, "--") != help;
}

std::string distrust_of(const trust::ForeignComponent& component) {
  return "qv secret: " + component.path + " belongs to another user (uid " +
         std::to_string(component.owner) +
         ") and stands in a folder that anybody can write to; not running what is there.";
}

}  // namespace

int secret(const std::vector<std::string>& arguments, CLIRuntime& runtime) {
  if (arguments.empty() || asks_for_help(arguments)) {
    runtime.out(kHelp);
    if (asks_in_the_command(arguments)) {
      runtime.err(
          "qv secret: the command was not run, since --help and -h ask for this help behind \"--\" "
          "too.");
    }
    return status_of(ExitCode::ok);
  }
  if (arguments.front() == "get") {
    const std::string name = arguments.size() > 1 ? text::repaired(arguments[1]) : "NAME";
    runtime.err(
        "qv secret: values are never returned. Run the command that needs it "
        "through `qv secret exec " +
        name +
        " -- <command>`, "
        "or `qv secret list` for the names available here.");
    return status_of(ExitCode::refused);
  }
  const std::string& broker = runtime.env().secretBin;
  if (runtime.env().sessionID.empty() || broker.empty()) {
    runtime.err(complaints::kNotInThread);
    return status_of(ExitCode::unavailable);
  }
  const auto foreign = trust::foreign_component(broker);
  if (foreign || !files::is_executable(broker)) {
    runtime.err("qv secret: the broker is not available at " + broker + ".");
    if (foreign) runtime.err(distrust_of(*foreign));
    return status_of(ExitCode::unavailable);
  }
  const auto status = run_in_foreground(broker, arguments);
  if (status) return *status;
  runtime.err("qv secret: could not start the broker: " + std::string(std::strerror(errno)));
  return status_of(ExitCode::unavailable);
}

}  // namespace qv::seat
