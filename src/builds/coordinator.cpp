// A build asks again and again until it may run or finds the same build running already.
// Why it waits is said once for each of the two reasons.

#include "builds/coordinator.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <optional>
#include <random>
#include <utility>

#include "builds/folder_state.h"
#include "builds/follower.h"
#include "builds/key.h"
#include "builds/messages.h"
#include "builds/pane_output.h"
#include "builds/queueing.h"
#include "builds/run.h"
#include "builds/signals.h"
#include "platform/ancestors.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "platform/process.h"

namespace qv::build {

namespace {

// This machine, for one build.
class Machine final : public Surroundings {
 public:
  Machine(const BuildCommand& command, const std::string& program, const std::string& ledger)
      : command_(command), readings_(command.environment, program, ledger) {}

  double now() override { return platform::waking_seconds(); }
  BuildMemory memory() override { return readings_.memory(); }
  bool is_focused() override { return readings_.focused(); }
  std::optional<std::string> find_key() override;
  bool is_inside_a_build() override {
    return platform::an_ancestor_was_started_with("QUORVEL_BUILD_SLOT");
  }

 private:
  const BuildCommand& command_;
  Readings readings_;
};

std::optional<std::string> Machine::find_key() {
  char resolved[PATH_MAX];
  if (::realpath(".", resolved) == nullptr) return std::nullopt;
  const std::string folder = resolved;
  const auto state = read_folder_state(folder, command_.environment);
  return state ? std::optional(build_key(command_, folder, *state)) : std::nullopt;
}

class Coordinator {
 public:
  Coordinator(BuildCommand command, std::shared_ptr<LedgerFolder> ledger,
              const std::string& program)
      : ledger_(std::move(ledger)),
        run_(std::move(command), ledger_),
        machine_(run_.command(), program, ledger_->dir()) {}

  int run();

 private:
  [[nodiscard]] BuildLease take_a_place();
  // What an outcome leads to: the build's exit status, or nothing when it has to ask again.
  std::optional<int> act(Queueing& queueing, Wait& wait);
  std::optional<int> act(Queueing& queueing, Hold& hold);
  std::optional<int> act(Queueing& queueing, Follow& leading);
  std::optional<int> act(Queueing& queueing, Start& start);
  void explain(const std::string& why) const;
  void sleep(const Queueing& queueing);

  std::shared_ptr<LedgerFolder> ledger_;
  BuildRun run_;
  Machine machine_;
  PaneOutput pane_;
  std::minstd_rand chance_{static_cast<unsigned>(::getpid())};
  bool wait_told_ = false;
  bool hold_told_ = false;
};

int Coordinator::run() {
  const BuildCommand& command = run_.command();
  const bool captured = ::isatty(STDOUT_FILENO) == 0 && ::isatty(STDERR_FILENO) == 0;
  Queueing queueing(take_a_place(), is_release(command.tool_name, command.arguments),
                    captured && !runs_its_result(command.tool_name, command.arguments), *ledger_,
                    machine_);
  while (auto outcome = queueing.ask()) {
    const auto status = std::visit([&](auto& one) { return act(queueing, one); }, *outcome);
    if (status) return *status;
  }
  run_.become_tool();
}

BuildLease Coordinator::take_a_place() {
  BuildLease own;
  own.queuedAt = platform::wall_clock_seconds();
  own.pid = ::getpid();
  const auto started = platform::start_time(own.pid);
  if (!started) run_.become_tool();
  own.startTime = *started;
  remove_file_on_stop(ledger_->lease_path(own.pid));
  return own;
}

// Why it waits; and the first time, to a person, what can be done about it.
void Coordinator::explain(const std::string& why) const {
  messages::tell(why);
  const bool first = !wait_told_ || !hold_told_;
  if (first && ::isatty(STDERR_FILENO) == 1) messages::tell(messages::kWhatToDo);
}

std::optional<int> Coordinator::act(Queueing& queueing, Wait& wait) {
  if (!std::exchange(wait_told_, true)) {
    platform::log_held_for_cores(queueing.lease().pid, wait.ahead);
    explain(messages::waits_for_cores(wait.ahead));
  }
  sleep(queueing);
  return std::nullopt;
}

std::optional<int> Coordinator::act(Queueing& queueing, Hold& hold) {
  if (!std::exchange(hold_told_, true)) {
    platform::log_held_for_memory(queueing.lease().pid, hold.ahead, hold.critical);
    explain(hold.critical ? std::string(messages::kCritical)
                          : messages::waits_for_memory(hold.ahead));
  }
  sleep(queueing);
  return std::nullopt;
}

std::optional<int> Coordinator::act(Queueing& queueing, Follow& leading) {
  messages::tell(messages::kFollowing);
  const auto end = follow(std::move(leading.log), leading.leader, pane_);
  if (const int* status = std::get_if<int>(&end)) return pane_.status_after(*status);
  queueing.follow_nobody();
  messages::tell(std::get<Unfollowed>(end) == Unfollowed::log_given_up ? messages::kNoLongerFollowed
                                                                       : messages::kLeaderStopped);
  return std::nullopt;
}

std::optional<int> Coordinator::act(Queueing& queueing, Start& start) {
  return run_.run(queueing.lease(), std::move(start), pane_);
}

void Coordinator::sleep(const Queueing& queueing) {
  const double chance = std::uniform_real_distribution<double>(0, 1)(chance_);
  ledger_->wait_for_an_end(queueing.waits_for(), queueing.pause(chance));
}

}  // namespace

int coordinate(BuildCommand command, std::shared_ptr<LedgerFolder> ledger,
               const std::string& program) {
  return Coordinator(std::move(command), std::move(ledger), program).run();
}

}  // namespace qv::build
