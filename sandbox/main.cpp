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
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app.h"
#include "base/files.h"
#include "base/io.h"
#include "base/output.h"
#include "base/process.h"
#include "base/text.h"
#include "board/request.h"
#include "bridge/endpoint.h"
#include "command/exit_code.h"
#include "helpers.h"
#include "instance.h"
#include "server.h"

namespace qv::sandbox {

namespace {

constexpr std::string_view kHelp =
    R"(qv-sandbox: a practice app for qv. It is not Quorvel: it keeps its Threads in memory, and forgets
them when its command ends. Nothing leaves this machine.

USAGE
  qv-sandbox [--lease <seconds>] [-- <command> ...]
      start a sandbox, and in it a pane that runs your shell or the command
  qv-sandbox pane [-- <command> ...]
      open another pane of the sandbox that is running
  qv-sandbox person [<deed> ...]
      do what only the person at the app can do; without a deed, see what waits for the person
  qv-sandbox --version

WHAT THE PERSON CAN DO
  answer <task> <text>     answer a blocker
  confirm                  confirm that the goal is complete
  reopen                   reopen the goal, or turn down that it is complete
  add <helper> [<command> [<explanation>]]
                           let agents start a helper: one they suggest, or this command
  decline <helper>         turn a suggestion down
  remove <helper>          let agents start it no more; without any helper squad is off
  stop <handle>            stop a helper that runs
  lock <note>, unlock <note>
                           have a note kept as it is, or not
  move <handle> <thread>   take a tab to another Thread, a new one where none has the name
  code                     see the join code that admits the next agent from outside

A helper's command is one simple command without pipes and redirects. It runs in a terminal of
its own, without a screen, and is told what it is there for by one more argument, which stands
at the end or in the place of {prompt}. What it prints goes to a file that `person` names. The
helper that is there from the start, `practice`, works a ticket and does nothing else.

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
[[noreturn]] void serve(App& app, Server& server, const sigset_t& mask) {
  ::setsid();
  server.listen_as_this_process();
  for (int fd = 0; fd <= 2; ++fd) ::close(fd);
  io::occupy_standard_descriptors();
  for (const int number : kEnds) ::signal(number, [](int) { g_ended = 1; });
  ::signal(SIGPIPE, SIG_IGN);
  ::sigprocmask(SIG_SETMASK, &mask, nullptr);
  const std::string first = app.threads.front().panes.front().id;
  while (g_ended == 0 && app.place_of(first).pane != nullptr) {
    server.serve();
    app.advance();
  }
  end_helpers(app);
  for (const Thread& thread : app.threads) {
    for (const Pane& pane : thread.panes) {
      if (pane.pid > 0 && !pane.id.empty()) ::kill(pane.pid, SIGHUP);
    }
  }
  remove_instance(app.instance);
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
std::optional<std::string> answer_vault(App&, const std::string&, Clock::time_point) {
  return R"({"kind":"error","message":"The practice vault answers to `qv secret` alone."})";
}

int start(const std::vector<std::string>& command, std::chrono::seconds lease) {
  // Whatever ends this from here on does so when there is somebody to tidy up.
  sigset_t ends;
  sigset_t mask;
  sigemptyset(&ends);
  for (const int number : kEnds) sigaddset(&ends, number);
  ::sigprocmask(SIG_BLOCK, &ends, &mask);
  const std::string token = random_hex(32);
  const auto instance = create_instance(token);
  if (!instance) return status_of(ExitCode::unavailable);
  App app(*instance, token, lease);
  Server server;
  const auto serves = [&](const char* bridge, auto answer) {
    return server.listen(instance->file(bridge, "sock"), std::bind_front(answer, std::ref(app)));
  };
  if (!serves("teamwork", answer_board) || !serves("mcp", answer_notes) ||
      !serves("vault", answer_vault)) {
    complain("no sockets could be made in " + instance->home + ".");
    remove_instance(*instance);
    return status_of(ExitCode::unavailable);
  }
  Thread& thread = app.threads.front();
  const Pane& pane = app.open_pane(thread, "", ::getpid());
  complain("a practice app, not Quorvel, kept in memory while this command runs.");
  complain("this is pane " + pane.handle + ". `qv-sandbox pane` opens another one; join code " +
           thread.join_code + ".");
  enter_pane(*instance, pane.id);
  // A grandchild, so that the command has no child that it does not know.
  const pid_t child = ::fork();
  if (child == 0 && ::fork() == 0) serve(app, server, mask);
  if (child == 0) ::_exit(0);
  ::waitpid(child, nullptr, 0);
  ::sigprocmask(SIG_SETMASK, &mask, nullptr);
  return become(command);
}

// Asks the board for something that no command of qv asks for, in the Thread of this terminal
// if it is in one.
TeamworkResponse ask(const Instance& instance, TeamworkRequest request) {
  const bridge::Endpoint board{.socket = instance.file("teamwork", "sock"),
                               .token_file = instance.file("teamwork", "token")};
  const char* session = std::getenv("QUORVEL_SESSION_ID");
  const auto bytes = bridge::ask(board, session == nullptr ? "" : session, std::move(request));
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
  ::signal(SIGHUP, SIG_DFL);  // it hangs up with the app, also for somebody who ignores that
  return become(command);
}

int not_how_it_is_used() {
  complain("that is not how it is used. Run `qv-sandbox --help`.");
  return status_of(ExitCode::usage);
}

// `words`: the deed and what belongs to it. A text at its end may be several of them.
int person(const Instance& instance, const std::vector<std::string>& words) {
  const auto word = [&](std::size_t n) {
    return n < words.size() ? std::optional(words[n]) : std::nullopt;
  };
  const bool has_two_texts = word(0) == "add";
  if (has_two_texts && words.size() > 4) return not_how_it_is_used();
  auto body = word(2);
  if (body && !has_two_texts) body = text::joined(std::span(words).subspan(2), " ");
  const TeamworkResponse reply = ask(instance, {.method = "person_" + word(0).value_or(""),
                                                .name = word(1),
                                                .explanation = word(3),
                                                .taskID = word(1),
                                                .body = body});
  if (reply.kind == TeamworkResponse::Kind::error) return not_how_it_is_used();
  const bool done = reply.kind == TeamworkResponse::Kind::written;
  OutputStream(done ? 1 : 2).write_line(text::with_visible_controls(reply.message.value_or("")));
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
  if (first.empty()) return start(command, std::chrono::seconds(600));
  const auto seconds = text::whole_number(words.size() == 2 ? words[1] : "");
  if (first == "--lease" && seconds > 0) {
    return start(command, std::chrono::seconds(*seconds));
  }
  if (first != "pane" && first != "person") return not_how_it_is_used();
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
