// qv-sandbox lets qv be used, shown and tested without the desktop app. It serves the app's
// bridges from memory, beside a command in the environment of a pane; further panes join from
// other terminals. The process that was started becomes the command, so that terminal, signals
// and exit status are the command's own; another one serves, and when the command is gone it
// removes its private directory and ends.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/files.h"
#include "base/io.h"
#include "base/output.h"
#include "base/process.h"
#include "base/text.h"
#include "board/request.h"
#include "bridge/endpoint.h"
#include "command/exit_code.h"
#include "instance.h"
#include "server.h"
#include "thread.h"

namespace qv::sandbox {

namespace {

constexpr std::string_view kHelp =
    R"(qv-sandbox: a practice app for qv. It is not Quorvel: it keeps one Thread in memory, and forgets
it when its command ends. Nothing leaves this machine.

USAGE
  qv-sandbox [--lease <seconds>] [-- <command> ...]
      start a sandbox, and in it a pane that runs your shell or the command
  qv-sandbox pane [-- <command> ...]
      open another pane of the sandbox that is running
  qv-sandbox person answer <task> <text> | confirm | code
      do what only the person at the app can do: answer a blocker, confirm that the goal is
      complete, see the join code
  qv-sandbox --version

Inside a pane QV_SANDBOX names the sandbox. It is also a home in which the sandbox is the app
that runs, so this makes an agent from outside, for which `qv join` is meant:

  env -i PATH="$PATH" HOME="$QV_SANDBOX" QUORVEL_SESSION_ID=visitor sh

`cargo`, `go` and `swift` run through qv in a pane, as far as they are installed; with none of
them, `cargo` is a stand-in that only takes its time.

The exit status is the command's. --lease is how long a seat lasts without a sign of life
(600 seconds).)";

constexpr int kEnds[] = {SIGTERM, SIGINT, SIGHUP};
volatile sig_atomic_t g_ended = 0;

// Runs until the first pane has closed. The other panes hang up then, like terminals whose app
// has quit.
[[noreturn]] void serve(Thread& thread, Server& server, const Instance& instance,
                        const sigset_t& mask) {
  ::setsid();
  for (int fd = 0; fd <= 2; ++fd) ::close(fd);
  io::occupy_standard_descriptors();
  for (const int number : kEnds) ::signal(number, [](int) { g_ended = 1; });
  ::signal(SIGPIPE, SIG_IGN);
  ::sigprocmask(SIG_SETMASK, &mask, nullptr);
  while (g_ended == 0 && !thread.panes.front().id.empty()) {
    server.serve();
    thread.advance();
  }
  for (const Pane& pane : thread.panes) {
    if (pane.pid > 0 && !pane.id.empty()) ::kill(pane.pid, SIGHUP);
  }
  remove_instance(instance);
  ::_exit(0);
}

// From here on this process is the command. Gives a status when it cannot be.
int become(std::vector<std::string> command) {
  constexpr int kNotStarted = 127;
  const std::vector<char*> words = process::pointers_to(command);
  ::execvp(words[0], words.data());
  complain("could not start " + command[0] + ": " + std::strerror(errno) + ".");
  return kNotStarted;
}

// Only the broker speaks with the vault. It is up here, and has nothing to say.
std::optional<std::string> answer_vault(Thread&, const std::string&, Clock::time_point) {
  return R"({"kind":"error","message":"The practice vault answers to `qv secret` alone."})";
}

int start(const std::vector<std::string>& command, Thread thread) {
  // Whatever ends this from here on does so when there is somebody to tidy up.
  sigset_t ends;
  sigset_t mask;
  sigemptyset(&ends);
  for (const int number : kEnds) sigaddset(&ends, number);
  ::sigprocmask(SIG_BLOCK, &ends, &mask);
  const auto instance = create_instance(thread.token);
  if (!instance) return status_of(ExitCode::unavailable);
  Server server;
  const auto serves = [&](const char* bridge, auto answer) {
    return server.listen(instance->file(bridge, "sock"), std::bind_front(answer, std::ref(thread)));
  };
  if (!serves("teamwork", answer_board) || !serves("mcp", answer_notes) ||
      !serves("vault", answer_vault)) {
    complain("no sockets could be made in " + instance->home + ".");
    remove_instance(*instance);
    return status_of(ExitCode::unavailable);
  }
  const Pane& pane = thread.open_pane("", ::getpid());
  complain("a practice app, not Quorvel: one Thread, kept in memory while this command runs.");
  complain("this is pane " + pane.handle + ". `qv-sandbox pane` opens another one; join code " +
           thread.join_code + ".");
  enter_pane(*instance, pane.id);
  // A grandchild, so that the command has no child that it does not know.
  const pid_t child = ::fork();
  if (child == 0 && ::fork() == 0) serve(thread, server, *instance, mask);
  if (child == 0) ::_exit(0);
  ::waitpid(child, nullptr, 0);
  ::sigprocmask(SIG_SETMASK, &mask, nullptr);
  return become(command);
}

// Asks the board for something that no command of qv asks for.
TeamworkResponse ask(const Instance& instance, TeamworkRequest request) {
  const bridge::Endpoint board{.socket = instance.file("teamwork", "sock"),
                               .token_file = instance.file("teamwork", "token")};
  const auto bytes = bridge::ask(board, "", std::move(request));
  const auto reply = bytes ? record::from_text<TeamworkResponse>(bytes.view()) : std::nullopt;
  return reply.value_or(TeamworkResponse{.message = "The sandbox does not answer."});
}

int open_pane(const Instance& instance, const std::vector<std::string>& command) {
  const TeamworkResponse reply =
      ask(instance, {.method = "app_opens_pane", .name = std::to_string(::getpid())});
  if (!reply.notice) {
    complain("no pane could be opened: " + reply.message.value_or(""));
    return status_of(ExitCode::unavailable);
  }
  complain("pane " + *reply.message + " of the practice app.");
  enter_pane(instance, *reply.notice);
  return become(command);
}

// `words`: the deed, and for an answer the task and the text.
int person(const Instance& instance, std::vector<std::string> words) {
  words.resize(3);
  const TeamworkResponse reply =
      ask(instance, {.method = "person_" + words[0], .taskID = words[1], .body = words[2]});
  const bool done = reply.kind == TeamworkResponse::Kind::written;
  OutputStream(done ? 1 : 2).write_line(reply.message.value_or(""));
  return status_of(done ? ExitCode::ok : ExitCode::refused);
}

int run(const std::vector<std::string>& arguments) {
  const auto dashes = std::ranges::find(arguments, "--");
  const std::vector<std::string> words(arguments.begin(), dashes);
  std::vector<std::string> command(dashes, arguments.end());
  if (!command.empty()) command.erase(command.begin());
  const char* shell = std::getenv("SHELL");
  if (command.empty()) command.emplace_back(shell == nullptr ? "/bin/sh" : shell);
  const std::string first = words.empty() ? "" : words[0];
  if (first == "-h" || std::ranges::find(words, "--help") != words.end()) {
    OutputStream(1).write_line(kHelp);
    return 0;
  }
  if (first == "--version") {
    OutputStream(1).write_line("qv-sandbox " QV_VERSION);
    return 0;
  }
  if (first.empty()) return start(command, {});
  const auto seconds = text::whole_number(words.size() == 2 ? words[1] : "");
  if (first == "--lease" && seconds > 0) {
    return start(command, {.lease = std::chrono::seconds(*seconds)});
  }
  if (first != "pane" && (first != "person" || words.size() < 2)) {
    complain("that is not how it is used. Run `qv-sandbox --help`.");
    return status_of(ExitCode::usage);
  }
  const auto instance = running_instance();
  if (!instance) return status_of(ExitCode::unavailable);
  return first == "pane" ? open_pane(*instance, command)
                         : person(*instance, {words.begin() + 1, words.end()});
}

// Whoever started this program by its path finds it, and the qv beside it, in its panes.
void put_beside_first(const std::string& program) {
  const char* path = std::getenv("PATH");
  if (program.find('/') == std::string::npos) return;
  std::error_code ignored;
  const auto directory = std::filesystem::canonical(files::directory_of(program), ignored);
  ::setenv("PATH", (directory.string() + ":" + (path == nullptr ? "" : path)).c_str(), 1);
}

}  // namespace

}  // namespace qv::sandbox

int main(int argc, char** argv) {
  qv::io::occupy_standard_descriptors();
  if (argc > 0) qv::sandbox::put_beside_first(argv[0]);
  return qv::sandbox::run({argv + std::min(argc, 1), argv + argc});
}
