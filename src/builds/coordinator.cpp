// A build asks again and again, under the ledger's lock, until it may run or finds the
// same build running already. Why it waits is said once for each of the two reasons.

#include "builds/coordinator.h"

#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <optional>
#include <thread>
#include <utility>

#include "builds/folder_state.h"
#include "builds/follower.h"
#include "builds/key.h"
#include "builds/messages.h"
#include "builds/pass.h"
#include "builds/run.h"
#include "builds/signals.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "platform/machine.h"

namespace qv::build {

namespace {

constexpr std::chrono::milliseconds kPause{500};

class Coordinator {
 public:
  Coordinator(BuildCommand command, std::shared_ptr<BuildLedger> ledger, const std::string& program)
      : ledger_(std::move(ledger)),
        run_(std::move(command), ledger_),
        readings_(run_.command().environment, program, ledger_->dir()) {}

  int run();

 private:
  void take_a_place();
  PassOutcome pass();
  void explain(const std::string& why) const;
  // What an outcome leads to: the build's exit status, or nothing when it has to ask again.
  std::optional<int> act(Wait& wait);
  std::optional<int> act(Hold& hold);
  std::optional<int> act(Follow& follow);
  std::optional<int> act(Start& start);

  std::shared_ptr<BuildLedger> ledger_;
  BuildRun run_;
  Readings readings_;
  Candidate candidate_;
  bool wait_told_ = false;
  bool hold_told_ = false;
};

std::optional<std::string> key_of(const BuildCommand& command) {
  char resolved[PATH_MAX];
  if (::realpath(".", resolved) == nullptr) return std::nullopt;
  const std::string folder = resolved;
  const auto state = read_folder_state(folder, command.environment);
  return state ? std::optional(build_key(command, folder, *state)) : std::nullopt;
}

int Coordinator::run() {
  take_a_place();
  const BuildCommand& command = run_.command();
  candidate_.release = is_release(command.tool_name, command.arguments);
  const bool captured = ::isatty(STDOUT_FILENO) == 0 && ::isatty(STDERR_FILENO) == 0;
  if (captured && !runs_its_result(command.tool_name, command.arguments)) {
    candidate_.key = key_of(command);
  }
  for (;;) {
    PassOutcome outcome = pass();
    const auto status = std::visit([&](auto& one) { return act(one); }, outcome);
    if (status) return *status;
  }
}

void Coordinator::take_a_place() {
  BuildLease& own = candidate_.lease;
  own.queuedAt = platform::wall_clock_seconds();
  own.pid = ::getpid();
  const auto started = platform::start_time(own.pid);
  if (!started) run_.become_tool();
  own.startTime = *started;
  remove_file_on_stop(ledger_->lease_path(own.pid));
}

PassOutcome Coordinator::pass() {
  candidate_.lease.focused = readings_.focused();
  const BuildMemory memory = readings_.memory();  // nobody has to wait for that
  const auto lock = ledger_->lock();
  if (!lock) {
    ledger_->remove(candidate_.lease.pid);
    run_.become_tool();
  }
  return decide(candidate_, *ledger_, memory, platform::waking_seconds());
}

// Why it waits; and the first time, to a person, what can be done about it.
void Coordinator::explain(const std::string& why) const {
  messages::tell(why);
  const bool first = !wait_told_ || !hold_told_;
  if (first && ::isatty(STDERR_FILENO) == 1) messages::tell(messages::kWhatToDo);
}

std::optional<int> Coordinator::act(Wait& wait) {
  if (!std::exchange(wait_told_, true)) {
    platform::log_held_for_cores(candidate_.lease.pid, wait.ahead);
    explain(messages::waits_for_cores(wait.ahead));
  }
  std::this_thread::sleep_for(kPause);
  return std::nullopt;
}

std::optional<int> Coordinator::act(Hold& hold) {
  if (!std::exchange(hold_told_, true)) {
    platform::log_held_for_memory(candidate_.lease.pid, hold.ahead, hold.critical);
    explain(hold.critical ? std::string(messages::kCritical)
                          : messages::waits_for_memory(hold.ahead));
  }
  std::this_thread::sleep_for(kPause);
  return std::nullopt;
}

std::optional<int> Coordinator::act(Follow& leading) {
  messages::tell(messages::kFollowing);
  const auto status = follow(std::move(leading.log), leading.leader);
  if (status) return status;
  candidate_.may_follow = false;
  messages::tell(messages::kLeaderStopped);
  return std::nullopt;
}

std::optional<int> Coordinator::act(Start& start) {
  return run_.run(candidate_.lease, std::move(start));
}

}  // namespace

int coordinate(BuildCommand command, std::shared_ptr<BuildLedger> ledger,
               const std::string& program) {
  return Coordinator(std::move(command), std::move(ledger), program).run();
}

}  // namespace qv::build
