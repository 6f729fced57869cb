// qv-sandbox lets qv be used, shown and tested without the desktop app. It serves the app's
// bridges from memory and starts a command in the environment of a pane; further panes join
// from other terminals. It is one process and one private directory, and both are gone when
// its command ends.

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "base/files.h"
#include "base/io.h"
#include "base/output.h"
#include "base/text.h"
#include "board.h"
#include "bridge/token.h"
#include "broker.h"
#include "client.h"
#include "command.h"
#include "instance.h"
#include "notes.h"
#include "pane.h"
#include "server.h"
#include "thread.h"

namespace qv::sandbox {

namespace {

constexpr int kUsage = 2;
constexpr int kNotRunning = 3;
constexpr std::chrono::seconds kLease{600};

constexpr std::string_view kHelp =
    R"(qv-sandbox: a practice app for qv. It is not Quorvel: it keeps one Thread in memory, and forgets
it when its command ends. Nothing leaves this machine.

USAGE
  qv-sandbox [--lease <seconds>] [-- <command> ...]
      start a sandbox, and in it a pane that runs your shell or the command
  qv-sandbox pane [-- <command> ...]
      open another pane of the sandbox that is running
  qv-sandbox outside [-- <command> ...]
      be an agent outside of it, with a home of its own: the place to try `qv join`
  qv-sandbox person answer <task> <text>
  qv-sandbox person confirm | reopen
  qv-sandbox person squad on | off
  qv-sandbox person unlock <note>
  qv-sandbox person code
      do what only the person at the app can do: answer a blocker, confirm that the goal is
      complete or open it again, switch the squad, unlock a note, see the join code

With several sandboxes running, QV_SANDBOX says which is meant; inside a pane it is set.
The exit status is the command's. --lease is how long a seat lasts without a sign of life
(600 seconds).)";

struct Arguments {
  std::vector<std::string> words;    // before "--"
  std::vector<std::string> command;  // after it; the shell without one
};

Arguments split(const std::vector<std::string>& all) {
  const auto dashes = std::ranges::find(all, "--");
  Arguments arguments{{all.begin(), dashes}, {}};
  if (dashes != all.end()) arguments.command.assign(dashes + 1, all.end());
  if (arguments.command.empty()) arguments.command = shell();
  return arguments;
}

// Sleeps, but hangs up like a terminal whose app has quit once the sandbox is gone.
Meanwhile while_running(const Instance& instance) {
  return [directory = instance.directory](int interrupt, int milliseconds) {
    constexpr int kLookMilliseconds = 300;
    pollfd watched{interrupt, POLLIN, 0};
    ::poll(&watched, 1, milliseconds < 0 ? kLookMilliseconds : milliseconds);
    if (!files::exists(directory)) ::raise(SIGHUP);
  };
}

int start(const std::vector<std::string>& command, std::chrono::seconds lease,
          const std::string& program) {
  hold_endings();
  const auto instance = create_instance(program);
  if (!instance) {
    complain("no private directory could be made in the temporary directory.");
    return kNotRunning;
  }
  Thread thread(lease);
  Board board(thread, bridge_token(instance->token_file("teamwork"), ""));
  Notes notes(thread, bridge_token(instance->token_file("mcp"), ""));
  Server server;
  int status = kNotRunning;
  if (server.listen(instance->socket("teamwork"), board) &&
      server.listen(instance->socket("mcp"), notes)) {
    const Pane& pane = thread.open_pane("", ::getpid());
    complain("a practice app, not Quorvel: one Thread, kept in memory while this command runs.");
    complain("this is pane " + pane.handle + ". `qv-sandbox pane` opens another one; join code " +
             thread.join_code + ".");
    status = run_command(
        command, pane_variables(*instance, pane.session, program),
        [&](int interrupt, int milliseconds) { server.serve(interrupt, milliseconds); });
  } else {
    complain("no socket could be opened in " + instance->directory + ".");
  }
  remove_instance(*instance);
  return status;
}

int join(const std::vector<std::string>& command, const Instance& instance,
         const std::string& program) {
  hold_endings();
  TeamworkRequest request = app_request("sandbox_open_pane");
  request.name = std::to_string(::getpid());
  const auto reply = ask(instance, request);
  if (!reply || !reply->message || !reply->notice) {
    complain("the sandbox does not answer.");
    return kNotRunning;
  }
  complain("pane " + *reply->message + " of the practice app.");
  return run_command(command, pane_variables(instance, *reply->notice, program),
                     while_running(instance));
}

int run(const std::vector<std::string>& all, const std::string& program) {
  const Arguments arguments = split(all);
  const auto& words = arguments.words;
  const std::string first = words.empty() ? "" : words[0];
  if (std::ranges::find(words, "--help") != words.end() || first == "-h") {
    OutputStream(1).write_line(kHelp);
    return 0;
  }
  if (words.empty()) return start(arguments.command, kLease, program);
  if (first == "--lease") {
    const auto seconds = text::whole_number(words.size() == 2 ? words[1] : "");
    if (seconds && *seconds > 0)
      return start(arguments.command, std::chrono::seconds(*seconds), program);
    complain("--lease needs a positive number of seconds.");
    return kUsage;
  }
  if (first != "pane" && first != "outside" && first != "person") {
    complain("unknown word \"" + first + "\". Run `qv-sandbox --help`.");
    return kUsage;
  }
  const auto instance = chosen_instance();
  if (!instance) return kNotRunning;
  if (first == "person") return person(*instance, {words.begin() + 1, words.end()});
  if (first == "pane") return join(arguments.command, *instance, program);
  return run_command(arguments.command, outside_variables(*instance, program),
                     while_running(*instance));
}

}  // namespace

}  // namespace qv::sandbox

int main(int argc, char** argv) {
  qv::io::occupy_standard_descriptors();
  const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
  if (argc > 0 && qv::files::name_of(argv[0]) == qv::sandbox::kBrokerName) {
    return qv::sandbox::run_broker(arguments);
  }
  const std::string program = qv::sandbox::program_path(argc > 0 ? argv[0] : "");
  return qv::sandbox::run(arguments, program);
}
