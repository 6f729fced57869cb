// Between two passes a build sleeps, and everything that can be found out without the lock
// is found out without it: hundreds may want to hold it.

#include "builds/queueing.h"

#include <utility>

#include "base/trace.h"

namespace qv::build {

namespace {

constexpr double kNearPause = 0.5;  // seconds, at most
constexpr double kFarPause = 2;
constexpr double kSpread = 0.25;  // the part of a pause that is left to chance

std::string told(const std::optional<PassOutcome>& outcome) {
  struct {
    std::string operator()(const Wait& wait) const {
      return "it waits for cores behind " + std::to_string(wait.ahead);
    }
    std::string operator()(const Hold& hold) const {
      return "it waits for memory behind " + std::to_string(hold.ahead) +
             (hold.critical ? ", which is critical" : "");
    }
    std::string operator()(const Follow& follow) const {
      return "it follows process " + std::to_string(follow.leader.pid);
    }
    std::string operator()(const Start& start) const {
      return "it runs with " + (start.jobs ? std::to_string(*start.jobs) : "its own count of") +
             " jobs";
    }
  } const words{};
  return outcome ? std::visit(words, *outcome) : "its turn has come, and its key is too old";
}

// Under no lock: whoever reads the trace may be slow.
void trace_pass(const Candidate& candidate, const BuildMemory& memory,
                const std::optional<PassOutcome>& outcome) {
  if (!trace::on()) return;
  if (outcome && std::holds_alternative<Follow>(*outcome))
    return trace::step("pass: ", told(outcome));
  const BuildPlan& plan = candidate.plan;
  trace::step("pass: ", memory.cores, " cores, ", plan.load.jobs, " jobs in use, ", plan.running,
              " builds run, ", plan.ahead, " are ahead, pressure ", memory.pressure, ", ",
              memory.available.value_or(0), " bytes free, memory ",
              memory.governed ? "governed" : "not governed",
              candidate.lease.focused ? ", focused" : "", candidate.release ? ", release" : "",
              candidate.key ? ", keyed: " : ": ", told(outcome));
}

}  // namespace

Queueing::Queueing(BuildLease own, bool release, bool keyed, BuildLedger& ledger,
                   Surroundings& surroundings)
    : ledger_(ledger), surroundings_(surroundings) {
  candidate_.lease = std::move(own);
  candidate_.release = release;
  if (keyed) find_key(false);
}

std::optional<PassOutcome> Queueing::ask() {
  for (;;) {
    candidate_.lease.focused = surroundings_.is_focused();
    const BuildMemory memory = surroundings_.memory();
    ledger_.look_ahead();
    std::optional<PassOutcome> outcome;
    {
      const auto lock = ledger_.lock();
      if (lock == nullptr) {
        trace::step("the ledger's lock is not to be had");
        break;
      }
      outcome = decide(candidate_, ledger_, memory, surroundings_.now());
    }
    trace_pass(candidate_, memory, outcome);
    if (!outcome) {
      find_key(true);
      continue;
    }
    // A build inside of another would wait for the one that waits for it.
    if (!std::holds_alternative<Start>(*outcome) &&
        !std::exchange(looked_for_a_build_around_, true) && surroundings_.is_inside_a_build()) {
      trace::step("a build started this one");
      break;
    }
    return outcome;
  }
  ledger_.remove(candidate_.lease.pid);
  return std::nullopt;
}

void Queueing::find_key(bool renewed) {
  const double begun = surroundings_.now();
  auto key = surroundings_.find_key();
  candidate_.key.reset();
  if (key) candidate_.key = FoundKey{std::move(*key), begun, renewed};
}

double Queueing::pause(double chance) const {
  return (candidate_.is_near ? kNearPause : kFarPause) * (1 - kSpread * chance);
}

}  // namespace qv::build
