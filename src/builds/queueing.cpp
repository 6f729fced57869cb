// Between two passes a build sleeps, and everything that can be found out without the lock
// is found out without it: hundreds may want to hold it.

#include "builds/queueing.h"

#include <utility>

namespace qv::build {

namespace {

constexpr double kNearPause = 0.5;  // seconds, at most
constexpr double kFarPause = 2;
constexpr double kSpread = 0.25;  // the part of a pause that is left to chance

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
      if (lock == nullptr) break;
      outcome = decide(candidate_, ledger_, memory, surroundings_.now());
    }
    if (!outcome) {
      find_key(true);
      continue;
    }
    // A build inside of another would wait for the one that waits for it.
    if (!std::holds_alternative<Start>(*outcome) &&
        !std::exchange(looked_for_a_build_around_, true) && surroundings_.is_inside_a_build()) {
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
