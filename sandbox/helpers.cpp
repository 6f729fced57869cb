// A helper is a command of the person's choice in a terminal of its own. Here that terminal is
// a process group without a screen: what it prints goes to a file in the sandbox's private
// directory, and nobody can be asked for anything in it. The command is run as one command by
// the shell, which alone knows how to quote; what would make it several is not let through.
//
// A helper counts until it is stopped, not until it ends: so whoever asked for it has to look
// at what came of it.

#include "helpers.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "base/process.h"
#include "base/text.h"
#include "tools.h"

extern char** environ;

namespace qv::sandbox {

namespace {

constexpr std::string_view kPracticeHelper = "qv-practice-helper";

// Works what is handed to it by name, and then waits to be handed more.
constexpr std::string_view kPracticeScript = R"(#!/bin/sh
# qv-practice-helper: works a board by `qv brief`, and does nothing else.
qv board register --role helper || exit
while
  for task in $(qv task list | sed -n '/^FOR YOU/,/^$/s/^  \(T-[0-9]*\) .*/\1/p'); do
    qv task read "$task" && qv task claim "$task" || continue
    qv task update "$task" --progress "Read the brief. Next: say so."
    qv task complete "$task" --summary "A practice helper has read the brief, and did nothing."
  done
  qv wait
do :; done
)";

// The prompt stands where the command line says, and at its end otherwise. It is one word
// wherever it stands, because nothing is split at no characters at all.
std::string script_of(const std::string& command) {
  constexpr std::string_view kPlace = "{prompt}";
  std::string script = "IFS=; set -f; exec " + command;
  if (command.find(kPlace) == std::string::npos) script += " $1";
  for (std::size_t at = 0; (at = script.find(kPlace)) != std::string::npos;) {
    script.replace(at, kPlace.size(), "$1");
  }
  return script;
}

// The process group of `script`, which speaks for the session and prints into the file; 0 when
// there is none.
pid_t run(const Instance& instance, const std::string& session, const std::string& output,
          const std::string& script, const std::string& prompt) {
  const Descriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  const Descriptor file(::open(output.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!nothing.valid() || !file.valid()) return 0;
  enter_pane(instance, session);
  std::vector<std::string> words{"sh", "-c", script, "helper", prompt};
  const auto arguments = process::pointers_to(words);
  sigset_t none;
  sigset_t ignored;  // by the one that serves
  sigemptyset(&none);
  sigemptyset(&ignored);
  sigaddset(&ignored, SIGPIPE);
  return process::spawn({.path = "/bin/sh",
                         .arguments = arguments.data(),
                         .environment = environ,
                         .standard = {nothing.get(), file.get(), file.get()},
                         .mask = &none,
                         .reset = &ignored,
                         .own_group = true});
}

// The word for its state. One that has ended is still there.
std::string state_of(const Pane& pane, Clock::time_point now) {
  if (pane.hands->status) return *pane.hands->status == 0 ? "exited" : "error";
  if (!pane.seat) return "starting";
  return pane.seat->waiting_until > now ? "idle" : "working";
}

}  // namespace

Helper practice_helper() {
  return {{.name = "practice",
           .explanation = "works a ticket as `qv brief` says, and does nothing else",
           .runsWithoutApprovals = true},
          std::string(kPracticeHelper),
          {},
          {}};
}

bool furnish_practice_helper(const Instance& instance) {
  return write_program(stand_in_directory(instance) + "/" + std::string(kPracticeHelper),
                       kPracticeScript);
}

std::string unfit_command(std::string_view command) {
  if (text::trimmed(command).empty()) return "A helper needs the command line that starts it.";
  const bool several = command.find_first_of(";|&<>`\n") != std::string_view::npos ||
                       command.find("$(") != std::string_view::npos;
  return several ? "A helper is started by one simple command: no ;, pipes, redirects or $(." : "";
}

Pane* start_helper(App& app, Thread& thread, const Helper& helper, const Pane& asker,
                   const Ticket& ticket) {
  Pane& pane = app.open_pane(thread, "", 0);
  Hands hands{.helper = helper.name, .asked_by = asker.fingerprint, .since = thread.now};
  hands.output = app.instance.home + "/helper-" + pane.handle + ".log";
  const std::string prompt = "You are a helper in a Quorvel Thread. This terminal is " +
                             pane.handle + ", and " + asker.handle +
                             " asked for you. Run `qv brief`, take your seat, and work " +
                             ticket.id + ", which is handed to you.";
  pane.pid = run(app.instance, pane.id, hands.output, script_of(helper.command), prompt);
  if (pane.pid == 0) {
    pane.id.clear();
    return nullptr;
  }
  pane.hands = std::move(hands);
  return &pane;
}

void stop_helper(Thread& thread, Pane& pane) {
  if (!is_running(pane)) return;
  pane.hands->stopped = thread.now;
  if (pane.pid > 0) ::kill(-pane.pid, SIGHUP);
  if (pane.pid > 0) ::kill(-pane.pid, SIGCONT);
  thread.close(pane, "stopped");
  pane.id.clear();
}

void stop_helpers_of(Thread& thread, const Pane& asker) {
  for (Pane& pane : thread.panes) {
    if (pane.hands && pane.hands->asked_by == asker.fingerprint) stop_helper(thread, pane);
  }
}

void tend(Thread& thread, Pane& pane) {
  constexpr std::chrono::seconds kGrace{2};
  Hands& hands = *pane.hands;
  if (pane.pid == 0) return;
  if (hands.stopped && thread.now >= *hands.stopped + kGrace) ::kill(-pane.pid, SIGKILL);
  siginfo_t ended{};
  const auto id = static_cast<id_t>(pane.pid);
  if (::waitid(P_PID, id, &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid == 0) return;
  // As long as nobody has asked how it ended, its number is no other group's.
  ::kill(-pane.pid, hands.stopped ? SIGKILL : SIGHUP);
  int status = 0;
  ::waitpid(pane.pid, &status, 0);
  pane.pid = 0;
  hands.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  if (hands.stopped) return;
  thread.close(pane, "its helper has ended");
  pane.id.clear();
  const std::string news = "Your helper " + pane.handle + " has ended, with status " +
                           std::to_string(*hands.status) + ".";
  const std::string next = "It counts until you stop it: `qv squad stop --to " + pane.handle +
                           "`. What it printed: " + hands.output;
  thread.record("helperEnded", "", {}, {{hands.asked_by, {"helperFinished", {}, news, next}}});
}

void end_helpers(App& app) {
  for (Thread& thread : app.threads) {
    for (Pane& pane : thread.panes) {
      if (!pane.hands || pane.pid == 0) continue;
      ::kill(-pane.pid, SIGKILL);
      ::waitpid(pane.pid, nullptr, 0);
      pane.pid = 0;
    }
  }
}

bool is_running(const Pane& pane) { return pane.hands && !pane.hands->stopped; }

Pane* running_helper(Thread& thread, std::string_view handle) {
  const auto found = std::ranges::find_if(thread.panes, [&](const Pane& pane) {
    return is_running(pane) && text::equal_ignoring_case(pane.handle, handle);
  });
  return found == thread.panes.end() ? nullptr : &*found;
}

std::vector<TeamworkHelperRun> helper_runs(const Thread& thread, const Pane& reader) {
  std::vector<TeamworkHelperRun> runs;
  for (const Pane& pane : thread.panes) {
    if (!is_running(pane)) continue;
    runs.push_back({.handle = pane.handle,
                    .helper = pane.hands->helper,
                    .state = state_of(pane, thread.now),
                    .askedBy = thread.handle_of(pane.hands->asked_by),
                    .runningForSeconds = seconds_between(pane.hands->since, thread.now),
                    .detail = "it prints to " + pane.hands->output,
                    .yours = pane.hands->asked_by == reader.fingerprint});
  }
  return runs;
}

TeamworkSquadState squad_state(const Thread& thread) {
  const bool on = !thread.helpers.empty();
  return {.mode = on ? "on" : "off",
          .canAddress = on,
          .canSpawn = on,
          .helpers = std::vector<TeamworkHelper>(thread.helpers.begin(), thread.helpers.end()),
          .helperLimit = kHelperLimit,
          .helpersRunning = std::ranges::count_if(thread.panes, is_running)};
}

bool is_helper_of(const Thread& thread, const Pane& helper, const Pane& pane) {
  // Whoever asked was there before, so the chain ends.
  if (!helper.hands) return false;
  if (helper.hands->asked_by == pane.fingerprint) return true;
  const auto asker = std::ranges::find(thread.panes, helper.hands->asked_by, &Pane::fingerprint);
  return asker != thread.panes.end() && is_helper_of(thread, *asker, pane);
}

}  // namespace qv::sandbox
