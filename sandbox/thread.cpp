#include "thread.h"

#include <algorithm>

#include "base/text.h"
#include "helpers.h"
#include "platform/process.h"

namespace qv::sandbox {

namespace {

// Whether this is a terminal's pane whose process is gone since the last look.
bool has_ended(Pane& pane) {
  if (pane.pid == 0 || pane.id.empty() || pane.hands) return false;
  if (!pane.watch) pane.watch.emplace(pane.pid);
  return pane.watch->has_ended().value_or(!platform::start_time(pane.pid));
}

template <class List, class Matches>
auto* find_in(List& list, const Matches& matches) {
  const auto found = std::ranges::find_if(list, matches);
  return found == list.end() ? nullptr : &*found;
}

}  // namespace

void Thread::advance() {
  now = Clock::now();
  for (Pane& pane : panes) {
    if (pane.hands) tend(*this, pane);
    if (has_ended(pane)) {
      close(pane, "terminal closed");
      pane.id.clear();
    }
    if (!pane.seat) continue;
    if (now >= pane.seat->lease_until) {
      const std::string held = vacate(pane, "lease lapsed");
      const std::string loss = held.empty() ? "" : " Back in the pool: " + held + ".";
      record("leaseLapsed", "", {},
             {{pane.fingerprint, {"claimExpired", {}, "Your lease lapsed." + loss, {}}}});
    } else if (now + lease / 5 >= pane.seat->lease_until && !pane.seat->warned) {
      pane.seat->warned = true;
      record("leaseExpiring", "", {}, {{pane.fingerprint, {"claimExpiring", {}, "", {}}}});
    }
  }
}

void Thread::seat(Pane& pane) {
  if (!pane.seat) {
    pane.seat.emplace();
    pane.status = "available";
    record("agentJoined", pane.fingerprint);
  }
  pane.seat->lease_until = now + lease;
  pane.seat->warned = false;
}

std::string Thread::vacate(Pane& pane, const std::string& why) {
  if (!pane.seat) return "";
  pane.seat.reset();
  std::vector<std::string> held;
  for (Ticket& ticket : tickets) {
    if (ticket.ownerFingerprint != pane.fingerprint) continue;
    held.push_back(ticket.id);
    put_back(ticket, pane.handle + " lost it: " + why);
    record("taskReleased", pane.fingerprint, ticket.id);
  }
  record("agentLeft", pane.fingerprint);
  return text::joined(held, ", ");
}

void Thread::close(Pane& pane, const std::string& why) {
  vacate(pane, why);
  stop_helpers_of(*this, pane);
}

Pane* Thread::pane_of(std::string_view session) {
  if (session.empty()) return nullptr;
  return find_in(panes, [&](const Pane& pane) { return pane.id == session; });
}

Ticket* Thread::ticket(std::string_view id) {
  return find_in(tickets,
                 [&](const Ticket& ticket) { return text::equal_ignoring_case(ticket.id, id); });
}

Note* Thread::note(std::string_view name) {
  return find_in(notes, [&](const Note& note) { return note.name == name; });
}

Pane* Thread::seated(std::string_view named) {
  if (named.starts_with('@')) named.remove_prefix(1);
  return find_in(panes, [&](const Pane& pane) {
    const bool called = text::equal_ignoring_case(pane.name, named) ||
                        text::equal_ignoring_case(pane.handle, named);
    return pane.seat && (called || pane.fingerprint == named);
  });
}

Pane* Thread::open_at(std::string_view handle) {
  return find_in(panes, [&](const Pane& pane) {
    return !pane.id.empty() && text::equal_ignoring_case(pane.handle, handle);
  });
}

Pane* Thread::seated_as(std::string_view role, const Pane* self) {
  return find_in(
      panes, [&](const Pane& pane) { return pane.seat && &pane != self && pane.has_role(role); });
}

bool Thread::is_for_another_role(const TeamworkTask& task, const Pane& reader) {
  const std::string& self = reader.fingerprint;
  if (task.ownerFingerprint == self || task.routedToFingerprint == self) return false;
  const std::string role = task.assignedRole.value_or("");
  return !reader.has_role(role) && seated_as(role, &reader) != nullptr;
}

bool Thread::is_taken(std::string_view name, const Pane* self) {
  const Pane* namesake = seated(name);
  return namesake != nullptr && namesake != self;
}

std::string Thread::handle_of(const std::string& fingerprint) const {
  const auto found = std::ranges::find(panes, fingerprint, &Pane::fingerprint);
  return found == panes.end() ? fingerprint : found->handle;
}

void Thread::record(const std::string& kind, const std::string& actor,
                    const std::optional<std::string>& taskID, const std::vector<Wake>& wakes) {
  Event event{{kind, taskID}, ++rev, actor, {}};
  for (const Wake& wake : wakes) {
    const auto known = std::ranges::find(event.wakes, wake.fingerprint, &Wake::fingerprint);
    if (wake.fingerprint != actor && known == event.wakes.end()) event.wakes.push_back(wake);
  }
  events.push_back(std::move(event));
}

void put_back(Ticket& ticket, const std::string& line) {
  if (!ticket.ownerFingerprint) return;
  ticket.ownerFingerprint.reset();
  ticket.state = "open";
  ticket.pendingReleaseReason.reset();
  ticket.log.push_back(line);
}

bool contains(const std::vector<std::string>& list, const std::string& wanted) {
  return std::ranges::find(list, wanted) != list.end();
}

std::int64_t seconds_between(Clock::time_point from, Clock::time_point to) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(to - from).count();
  return std::max<std::int64_t>(seconds, 0);
}

}  // namespace qv::sandbox
