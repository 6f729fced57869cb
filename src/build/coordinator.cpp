// A build asks again and again, under the ledger's lock, until it may run or finds the
// same build running already. Coordination may delay a build but never break it: whatever
// fails here, the process becomes the tool. A lease is good for that too, since process
// id and start time survive the replacement; it counts until the tool ends and the next
// reader drops it.

#include "build/coordinator.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <new>
#include <thread>
#include <utility>

#include "base/process.h"
#include "build/direct.h"
#include "build/folder_state.h"
#include "build/follower.h"
#include "build/key.h"
#include "build/messages.h"
#include "build/pump.h"
#include "build/signals.h"
#include "build/tool_process.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "platform/machine.h"

namespace qv::build {

namespace {

using Step = Coordinator::Step;

constexpr std::chrono::milliseconds kPause{500};

// Once the tool runs, its build is not lost to a want of memory: files that cannot be removed
// now go with the next reader of the ledger.
template <class Action>
void as_far_as_memory_goes(Action action) {
  try {
    action();
  } catch (const std::bad_alloc&) {
  }
}

// One run of a coordinator.
class Build {
 public:
  Build(Coordinator& coordinator, const std::string& program)
      : coordinator_(coordinator),
        ledger_(*coordinator.ledger),
        readings_(coordinator.env, program, coordinator.ledger->dir()) {}

  int run();

 private:
  [[nodiscard]] std::optional<std::string> compute_key() const;
  // What a step leads to: the build's exit status, or nothing when it has to ask again.
  std::optional<int> act(Step::Follow& follow);
  std::optional<int> act(const Step::Hold& hold);
  std::optional<int> act(const Step::Wait& wait);
  std::optional<int> act(Step::Run& run);
  void prepare_tool(const std::optional<std::int64_t>& jobs);
  int run_with_log(Descriptor log);
  void abandon_log();
  [[noreturn]] void become_tool();

  Coordinator& coordinator_;
  BuildLedger& ledger_;
  CallerSignals caller_;
  Readings readings_;
  Coordinator::Queue queue_;
  bool wait_told_ = false;
  bool hold_told_ = false;
  bool prepared_ = false;  // the arguments and the environment are the tool's own now
};

int Build::run() {
  BuildLease& own = queue_.own;
  own.queuedAt = platform::wall_clock_seconds();
  own.pid = ::getpid();
  const auto started = platform::start_time(own.pid);
  if (!started) become_tool();
  own.startTime = *started;
  remove_file_on_stop(ledger_.lease_path(own.pid));
  if (::isatty(STDOUT_FILENO) == 0 && ::isatty(STDERR_FILENO) == 0) queue_.key = compute_key();
  for (;;) {
    own.focused = readings_.focused();
    const BuildMemory memory = readings_.memory();  // nobody has to wait for that
    Step step;
    {
      const auto lock = ledger_.lock();
      if (!lock) {
        ledger_.remove(own.pid);
        become_tool();
      }
      step = coordinator_.decide(queue_, memory);
    }
    const auto status = std::visit([&](auto& outcome) { return act(outcome); }, step.outcome);
    if (status) return *status;
  }
}

std::optional<std::string> Build::compute_key() const {
  char resolved[PATH_MAX];
  if (::realpath(".", resolved) == nullptr) return std::nullopt;
  const std::string folder = resolved;
  const auto state = read_folder_state(folder, coordinator_.env);
  if (!state) return std::nullopt;
  return BuildKey{coordinator_.real, folder, *state, coordinator_.args, coordinator_.env}.digest();
}

std::optional<int> Build::act(Step::Follow& follow_step) {
  messages::tell(messages::kFollowing);
  const auto status = follow(std::move(follow_step.fd), follow_step.leader);
  if (status) return status;
  queue_.do_not_follow = true;
  messages::tell(messages::kLeaderStopped);
  return std::nullopt;
}

std::optional<int> Build::act(const Step::Hold& hold) {
  if (!std::exchange(hold_told_, true)) {
    platform::log_held_for_memory(queue_.own.pid, hold.ahead, hold.critical);
    messages::tell(hold.critical ? std::string(messages::kCritical)
                                 : messages::waits_for_memory(hold.ahead));
  }
  std::this_thread::sleep_for(kPause);
  return std::nullopt;
}

std::optional<int> Build::act(const Step::Wait& wait) {
  if (!std::exchange(wait_told_, true)) {
    platform::log_held_for_cores(queue_.own.pid, wait.ahead);
    messages::tell(messages::waits_for_cores(wait.ahead));
  }
  std::this_thread::sleep_for(kPause);
  return std::nullopt;
}

std::optional<int> Build::act(Step::Run& run) {
  platform::log_started(queue_.own.pid, run.jobs.value_or(run.cores), run.cores, run.others);
  if (run.jobs) messages::tell(messages::uses_fewer_cores(*run.jobs, run.cores, run.others));
  prepare_tool(run.jobs || !run.bounded ? run.jobs : run.cores);
  if (!run.log.valid()) become_tool();
  return run_with_log(std::move(run.log));
}

void Build::prepare_tool(const std::optional<std::int64_t>& jobs) {
  const auto knob =
      jobs ? BuildJobKnob::find(coordinator_.tool, coordinator_.args, coordinator_.env, *jobs)
           : std::nullopt;
  if (knob) knob->apply(coordinator_.args, coordinator_.env);
  coordinator_.env["QUORVEL_BUILD_SLOT"] = "1";
  prepared_ = true;
}

int Build::run_with_log(Descriptor log) {
  auto tool = ToolProcess::start(coordinator_.real, coordinator_.args, coordinator_.env, caller_);
  if (!tool) {
    log.reset();
    abandon_log();
    become_tool();
  }
  BuildLogWriter writer(std::move(log));
  pump(*tool, writer, [&] { as_far_as_memory_goes([&] { abandon_log(); }); });
  tool->wait_until_ended();
  const std::int32_t value = tool->exit_value();
  writer.append_exit(value);
  writer.close();
  as_far_as_memory_goes([&] {
    const auto lock = ledger_.lock();  // without it the files go all the same
    ledger_.remove(queue_.own.pid);
    ledger_.remove_log(queue_.own.pid);
  });
  return value < 0 ? 128 - value : value;
}

// Nobody can follow this build any more, but it goes on.
void Build::abandon_log() {
  const auto lock = ledger_.lock();
  ledger_.remove_log(queue_.own.pid);
  if (!lock) return;
  queue_.own.key.reset();
  queue_.own.log.reset();
  ledger_.write(queue_.own);
}

void Build::become_tool() {
  std::vector<std::string> words{coordinator_.real};
  words.insert(words.end(), coordinator_.args.begin(), coordinator_.args.end());
  std::vector<std::string> variables = as_strings(coordinator_.env);
  const auto word_pointers = process::pointers_to(words);
  const auto variable_pointers = process::pointers_to(variables);
  caller_.restore();
  const int error = replace_process(coordinator_.real.c_str(), word_pointers.data(),
                                    prepared_ ? variable_pointers.data() : nullptr);
  ledger_.remove(queue_.own.pid);
  give_up(coordinator_.real.c_str(), error);
}

}  // namespace

int Coordinator::run(const std::string& program) { return Build(*this, program).run(); }

}  // namespace qv::build
