#include "thread.h"

#include <signal.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <utility>

#include "base/text.h"
#include "instance.h"

namespace qv::sandbox {

namespace {

constexpr std::string_view kLetters = "ABCDEFGHJKLMNPQRSTUVWXYZ";

// The n-th handle: two letters and a digit, all different for the first few hundred panes,
// and the same in every run, so that a transcript can be told again.
std::string nth_handle(std::size_t n) {
  return {kLetters[(9 + n * 7) % kLetters.size()],
          kLetters[(14 + n * 5 + n / 24) % kLetters.size()],
          static_cast<char>('0' + (3 + n * 3) % 10)};
}

std::string fingerprint_for(std::string_view handle) {
  std::uint32_t hash = 2166136261U;
  for (const char c : handle) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  std::array<char, 9> digits{};
  std::snprintf(digits.data(), digits.size(), "%08x", hash);
  return digits.data();
}

bool is_gone(const Pane& pane) {
  return pane.pid > 0 && ::kill(pane.pid, 0) != 0 && errno == ESRCH;
}

}  // namespace

std::string new_join_code() { return random_hex(4) + "-" + random_hex(4); }

std::vector<Wake> wake_followers(const Ticket& ticket, const std::string& summary,
                                 const std::optional<std::string>& cause) {
  std::vector<Wake> wakes;
  const auto tell = [&](const std::optional<std::string>& who) {
    wakes.push_back(wake(who.value_or(""), "taskWatched", ticket.record.id, summary, cause));
  };
  for (const TeamworkTaskWatcher& watcher : ticket.record.watchers) tell(watcher.fingerprint);
  tell(ticket.record.ownerFingerprint);
  return wakes;
}

void Thread::advance(Clock::time_point now) {
  now_ = now;
  for (Pane& pane : panes) {
    if (pane.open && is_gone(pane)) close_pane(pane);
  }
  finish_helpers();
  lapse_leases();
}

void Thread::finish_helpers() {
  for (HelperRun& run : helpers) {
    Pane* helper = seated(run.fingerprint);
    if (helper == nullptr) continue;
    helper->seat->lease_until = now_ + lease_;
    if (run.idle || now_ < run.finishes) continue;
    run.idle = true;
    helper->seat->status = "done, nothing more to pretend";
    Ticket* work = ticket(run.taskID);
    if (work == nullptr || work->record.ownerFingerprint != run.fingerprint) continue;
    finish(*work, *helper, "Pretended to do it. Nothing was really done: this is a practice app.");
  }
}

void Thread::lapse_leases() {
  for (Pane& pane : panes) {
    if (!pane.seat) continue;
    if (now_ >= pane.seat->lease_until) {
      const std::string held = text::joined(vacate(pane, "lease lapsed"), ", ");
      const std::string summary = held.empty()
                                      ? "Your lease lapsed, and your seat with it."
                                      : "Your lease lapsed; " + held + " went back to the pool.";
      record(moves::kLeft, "", std::nullopt,
             {wake(pane.fingerprint, "claimExpired", std::nullopt, summary)});
    } else if (!pane.seat->warned && now_ + lease_ / 5 >= pane.seat->lease_until) {
      pane.seat->warned = true;
      record(moves::kLease, "", std::nullopt, {wake(pane.fingerprint, "claimExpiring")});
    }
  }
}

Pane& Thread::open_pane(std::string session, pid_t pid) {
  const std::size_t n = panes.size();
  Pane& pane = panes.emplace_back();
  pane.session = session.empty() ? "pane-" + std::to_string(n + 1) : std::move(session);
  pane.handle = nth_handle(n);
  pane.fingerprint = fingerprint_for(pane.handle);
  pane.name = pane.handle;
  pane.pid = pid;
  return pane;
}

void Thread::close_pane(Pane& pane) {
  vacate(pane, "terminal closed");
  pane.open = false;
}

Seat& Thread::seat(Pane& pane) {
  if (!pane.seat) {
    pane.seat.emplace().status = "available";
    record(moves::kJoined, pane.fingerprint, std::nullopt);
  }
  pane.seat->name = pane.name;
  pane.seat->last_command = now_;
  pane.seat->lease_until = now_ + lease_;
  pane.seat->warned = false;
  return *pane.seat;
}

Pane* Thread::pane_of(std::string_view session) {
  for (Pane& pane : panes) {
    if (pane.open && pane.session == session && !session.empty()) return &pane;
  }
  return nullptr;
}

Pane* Thread::somebody(std::string_view named) {
  if (named.starts_with('@')) named.remove_prefix(1);
  if (named.empty()) return nullptr;
  for (Pane& pane : panes) {
    const bool by_name = pane.seat && text::equal_ignoring_case(pane.seat->name, named);
    if (by_name || pane.fingerprint == named || text::equal_ignoring_case(pane.handle, named)) {
      return &pane;
    }
  }
  return nullptr;
}

Pane* Thread::seated(std::string_view named) {
  Pane* pane = somebody(named);
  return pane != nullptr && pane->seat ? pane : nullptr;
}

std::string Thread::handle_of(std::string_view fingerprint) {
  const Pane* pane = somebody(fingerprint);
  return pane == nullptr ? std::string(fingerprint) : pane->handle;
}

Ticket* Thread::ticket(std::string_view id) {
  const auto found = std::ranges::find_if(tickets, [&](const Ticket& ticket) {
    return text::equal_ignoring_case(ticket.record.id, id);
  });
  return found == tickets.end() ? nullptr : &*found;
}

bool Thread::is_resolved(std::string_view id) {
  const Ticket* found = ticket(id);
  return found == nullptr || found->finished();
}

Ticket& Thread::add_ticket() {
  Ticket& added = tickets.emplace_back();
  added.record.id = "T-" + std::to_string(++last_ticket_);
  added.record.state = "open";
  return added;
}

std::vector<std::string> Thread::vacate(Pane& pane, const std::string& why) {
  std::vector<std::string> held;
  if (!pane.seat) return held;
  pane.seat.reset();
  for (Ticket& ticket : tickets) {
    if (ticket.record.ownerFingerprint != pane.fingerprint) continue;
    held.push_back(ticket.record.id);
    put_back(ticket, pane.handle + " lost it: " + why);
    record(moves::kReleased, pane.fingerprint, ticket.record.id);
  }
  record(moves::kLeft, pane.fingerprint, std::nullopt);
  std::vector<std::string> own_helpers;
  for (const HelperRun& run : helpers) {
    if (run.asked_by == pane.fingerprint) own_helpers.push_back(run.fingerprint);
  }
  for (const std::string& helper : own_helpers) stop_helper(helper);
  return held;
}

void Thread::put_back(Ticket& ticket, const std::string& line) {
  TeamworkTask& task = ticket.record;
  if (!task.ownerFingerprint) return;
  task.ownerFingerprint.reset();
  task.state = "open";
  task.pendingReleaseReason.reset();
  task.log.push_back(line);
  task.thrashing = task.claimAttempts >= 3;
  ticket.release_asked_by.clear();
}

void Thread::stop_helper(const std::string& fingerprint) {
  std::erase_if(helpers, [&](const HelperRun& run) { return run.fingerprint == fingerprint; });
  Pane* helper = somebody(fingerprint);
  if (helper == nullptr) return;
  close_pane(*helper);
  record(moves::kHelperStopped, "", std::nullopt);
}

void Thread::finish(Ticket& ticket, const Pane& by, const std::string& summary) {
  TeamworkTask& task = ticket.record;
  task.state = "done";
  task.ownerFingerprint.reset();
  task.log.push_back(by.handle + " completed it: " + summary);
  ticket.summary = summary;
  ticket.lines_since_summary = 0;

  std::vector<Wake> wakes{wake(ticket.reports_to, "helperFinished", task.id, "", summary)};
  std::ranges::copy(wake_followers(ticket, task.id + " is done.", summary),
                    std::back_inserter(wakes));
  for (const Ticket& other : tickets) {
    if (std::ranges::find(other.record.waitsOn, task.id) == other.record.waitsOn.end()) continue;
    if (!std::ranges::all_of(other.record.waitsOn,
                             [&](const auto& id) { return is_resolved(id); })) {
      continue;
    }
    const std::string ready = other.record.id + " is ready: " + task.id + " is done.";
    const auto tell = [&](const std::string& who) {
      wakes.push_back(wake(who, "dependencyReady", other.record.id, ready));
    };
    tell(other.record.ownerFingerprint.value_or(""));
    tell(other.record.routedToFingerprint.value_or(""));
    tell(other.filed_by);
  }
  record(moves::kCompleted, by.fingerprint, task.id, std::move(wakes));
}

void Thread::record(const Move& move, std::string_view actor, std::optional<std::string> taskID,
                    std::vector<Wake> wakes) {
  std::vector<Wake> kept;
  for (Wake& wake : wakes) {
    const auto same = [&](const Wake& other) { return other.fingerprint == wake.fingerprint; };
    if (wake.fingerprint.empty() || wake.fingerprint == actor) continue;
    if (std::ranges::none_of(kept, same)) kept.push_back(std::move(wake));
  }
  events_.push_back({++rev_, move, std::string(actor), std::move(taskID), std::move(kept)});
}

}  // namespace qv::sandbox
