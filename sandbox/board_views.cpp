// Records are kept as they are for everybody; what depends on the reader or on the moment is
// filled in when somebody looks.

#include <algorithm>

#include "board_methods.h"

namespace qv::sandbox {

namespace {

constexpr std::int64_t kHelperLimit = 20;

std::int64_t seconds_between(Clock::time_point from, Clock::time_point to) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(to - from).count();
  return std::max<std::int64_t>(seconds, 0);
}

bool contains(const std::vector<std::string>& list, const std::string& wanted) {
  return std::ranges::find(list, wanted) != list.end();
}

HeldRef held_ref(const Ticket& ticket) {
  return {ticket.record.id, ticket.lines_since_summary, !ticket.wrote_since_claim};
}

}  // namespace

TeamworkAgent agent_record(const Thread& thread, const Pane& pane, const Pane& reader) {
  const Seat& seat = *pane.seat;
  TeamworkAgent agent;
  agent.id = pane.session;
  agent.fingerprint = pane.fingerprint;
  agent.handle = pane.handle;
  agent.name = seat.name;
  agent.role = seat.role;
  agent.status = seat.status;
  agent.leaseSecondsRemaining = seconds_between(thread.now(), seat.lease_until);
  agent.isSelf = &pane == &reader;
  agent.idle = seat.waiting_until > thread.now();
  agent.stoodDown = agent.idle && seat.stood_down;
  agent.canVerify = true;
  agent.activeClaims = std::ranges::count_if(thread.tickets, [&](const Ticket& ticket) {
    return ticket.record.ownerFingerprint == pane.fingerprint;
  });
  agent.quietForSeconds = seconds_between(seat.last_command, thread.now());
  return agent;
}

TeamworkTask task_record(Thread& thread, const Ticket& ticket, const Pane& reader) {
  TeamworkTask task = ticket.record;
  std::vector<std::string> unresolved;
  for (const std::string& id : task.waitsOn) {
    if (!thread.is_resolved(id)) unresolved.push_back(id);
  }
  task.ready = task.state == "open" && unresolved.empty() && !task.blocked && !task.parkedReason;
  task.unresolvedWaitsOn = std::move(unresolved);
  task.routedToLive = task.routedToFingerprint && thread.seated(*task.routedToFingerprint);
  if (const Pane* holder = thread.seated(task.ownerFingerprint.value_or(""))) {
    task.claimLeaseSecondsRemaining = seconds_between(thread.now(), holder->seat->lease_until);
  }
  if (!ticket.reports_to.empty()) task.reportsToHandle = thread.handle_of(ticket.reports_to);
  task.mentionsYou = ticket.mentions.contains(reader.fingerprint);
  for (const TeamworkDiscussion& debate : thread.debates) {
    if (debate.taskID != task.id) continue;
    task.discussions.push_back(debate_record(debate, reader));
    if (debate.state != "open") continue;
    ++task.openDiscussions;
    if (debate.escalated) ++task.escalatedDiscussions;
  }
  if (!reader.seat) {
    task.body.clear();
    task.log.clear();
    task.discussions.clear();
  }
  return task;
}

TeamworkDiscussion debate_record(const TeamworkDiscussion& debate, const Pane& reader) {
  TeamworkDiscussion shown = debate;
  shown.yourTurn = contains(debate.owingParties, reader.fingerprint);
  return shown;
}

TeamworkObligations owed_by(Thread& thread, const Pane& reader) {
  const std::string& self = reader.fingerprint;
  TeamworkObligations owed;
  for (const TeamworkDiscussion& debate : thread.debates) {
    if (debate.state != "open") continue;
    const bool mine = contains(debate.owingParties, self);
    const bool spoke = debate.volleys.empty() ? debate.openedBy == self
                                              : debate.volleys.back().author == reader.handle;
    const std::string other = mine ? thread.handle_of(debate.openedBy)
                              : debate.owingParties.empty()
                                  ? ""
                                  : thread.handle_of(debate.owingParties.front());
    const DebateRef ref{debate.id, debate.taskID, debate.question, other};
    if (mine) owed.oweReply.push_back(ref);
    if (!mine && spoke && !debate.owingParties.empty()) owed.awaitingReply.push_back(ref);
  }
  for (const Ticket& ticket : thread.tickets) {
    const TeamworkTask& task = ticket.record;
    if (ticket.finished()) continue;
    if (ticket.mentions.contains(self)) owed.mentionsToAnswer.push_back(task.id);
    if (task.blocked && ticket.blocked_by == self) owed.yourBlockersOpen.push_back(task.id);
    if (task.ownerFingerprint != self) continue;
    owed.tasksHeld.push_back(task.id);
    if (ticket.lines_since_summary >= 3) owed.staleSummaries.push_back(held_ref(ticket));
    if (task.pendingReleaseReason) {
      owed.releaseAsks.push_back(
          {task.id, thread.handle_of(ticket.release_asked_by), *task.pendingReleaseReason});
    }
  }
  owed.clear = owed.oweReply.empty() && owed.mentionsToAnswer.empty() && owed.tasksHeld.empty() &&
               owed.yourBlockersOpen.empty();
  return owed;
}

TeamworkSquadState squad_record(const Thread& thread) {
  TeamworkSquadState squad;
  squad.mode = thread.squad_on ? "on" : "off";
  squad.canAddress = thread.squad_on;
  squad.canSpawn = thread.squad_on;
  squad.helperLimit = kHelperLimit;
  squad.helpersRunning = static_cast<std::int64_t>(thread.helpers.size());
  squad.helpers.emplace();
  if (thread.squad_on) {
    squad.helpers->push_back({.name = "pretender",
                              .explanation = "only pretends: it claims the ticket and completes it "
                                             "two seconds later, for practice",
                              .runsWithoutApprovals = true,
                              .quorvelTools = true});
  }
  return squad;
}

}  // namespace qv::sandbox
