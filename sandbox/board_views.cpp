// Records are kept as they are for everybody; what depends on the reader or on the moment is
// filled in when somebody looks. A change feed, too, is read off the log each time it is asked
// for: the moves since a revision, without the reader's own, as far as they concern it.

#include <algorithm>
#include <array>

#include "board.h"
#include "board/task_rendering.h"
#include "helpers.h"

namespace qv::sandbox {

namespace {

// The moves that reach more than those they wake by name and those who wait for their ticket:
// everybody, whoever waits for the whole board, and of these whoever asked for changes of state.
constexpr std::string_view kFinished = "goalCompleted";
constexpr std::array<std::string_view, 3> kForEverybody{"goalSet", "goalReopened", kFinished};
constexpr std::array<std::string_view, 7> kForThePool{
    "charterSet",   "taskAdded",   "taskReleased", "taskCompleted",
    "taskRejected", "taskDeleted", "squadChanged"};
constexpr std::array<std::string_view, 3> kOfState{"taskClaimed", "taskBlocked", "taskUnblocked"};

bool reaches(const Event& event, const Call& call) {
  const auto among = [&](const auto& kinds) {
    return std::ranges::find(kinds, event.kind) != kinds.end();
  };
  if (among(kForEverybody)) return true;
  const Pane& self = call.caller;
  const Ticket* ticket = call.thread.ticket(event.taskID.value_or(""));
  if (ticket != nullptr && call.thread.is_for_another_role(*ticket, self)) return false;
  if (self.seat && self.stoodDown && self.seat->waiting_until > call.thread.now) {
    return ticket != nullptr && ticket->holders.contains(self.fingerprint);
  }
  return among(kForThePool) || (among(kOfState) && call.request.wakeOnStateChanges == true);
}

void add_to(TeamworkChangeFeed& feed, const Event& event, const Call& call) {
  feed.changed = true;
  const bool task_is_told =
      std::ranges::find(feed.changes, event.taskID, &TeamworkChange::taskID) != feed.changes.end();
  if (!contains(feed.changeKinds, event.kind)) feed.changeKinds.push_back(event.kind);
  feed.changes.push_back(event);
  const Ticket* ticket = call.thread.ticket(event.taskID.value_or(""));
  if (ticket == nullptr || task_is_told) return;
  feed.tasks.owned().push_back(task_record(call.thread, *ticket, call.caller));
}

}  // namespace

TeamworkAgent agent_record(const Thread& thread, const Pane& pane, const Pane& reader) {
  TeamworkAgent agent = pane;
  agent.leaseSecondsRemaining = seconds_between(thread.now, pane.seat->lease_until);
  agent.isSelf = &pane == &reader;
  agent.idle = pane.seat->waiting_until > thread.now;
  agent.stoodDown = agent.idle && pane.stoodDown;
  agent.canVerify = true;
  agent.activeClaims = std::ranges::count_if(thread.tickets, [&](const Ticket& ticket) {
    return ticket.ownerFingerprint == pane.fingerprint;
  });
  return agent;
}

TeamworkTask task_record(Thread& thread, const Ticket& ticket, const Pane& reader) {
  TeamworkTask task = ticket;
  // What is finished is no longer waited on.
  std::erase_if(task.waitsOn, [&](const std::string& id) {
    const Ticket* other = thread.ticket(id);
    return other == nullptr || other->finished();
  });
  task.unresolvedWaitsOn = task.waitsOn;
  task.ready = task.state == "open" && task.waitsOn.empty() && !task.blocked &&
               !task.parkedReason && !thread.is_for_another_role(ticket, reader);
  const Pane* aim = thread.seated(task.routedToFingerprint.value_or(""));
  const bool awaited = std::ranges::any_of(thread.panes, [&](const Pane& pane) {
    return is_running(pane) && pane.fingerprint == task.routedToFingerprint;
  });
  task.routedToLive = aim != nullptr || awaited;
  if (const Pane* holder = thread.seated(task.ownerFingerprint.value_or(""))) {
    task.claimLeaseSecondsRemaining = seconds_between(thread.now, holder->seat->lease_until);
  }
  if (!ticket.reports_to.empty()) task.reportsToHandle = thread.handle_of(ticket.reports_to);
  task.mentionsYou = ticket.mentions.contains(reader.fingerprint);
  for (const TeamworkDiscussion& debate : thread.debates) {
    if (debate.taskID != task.id) continue;
    task.discussions.push_back(debate_record(debate, reader));
    if (debate.state == "open") ++task.openDiscussions;
  }
  if (!reader.seat) {
    task.body.clear();
    task.log.clear();
    task.discussions.clear();
  }
  return task;
}

std::string next_step(const Call& call) {
  const TeamworkPlan& plan = call.thread.plan;
  if (!call.caller.seat) return "take your seat: `qv board register`.";
  if (plan.goalComplete)
    return "none: the goal is complete. `qv board unregister` frees your seat.";
  using board::TaskBucket;
  std::array<std::vector<TeamworkTask>, board::kTaskBuckets> buckets;
  const auto in = [&](TaskBucket bucket) -> auto& {
    return buckets[static_cast<std::size_t>(bucket)];
  };
  for (const Ticket& ticket : call.thread.tickets) {
    TeamworkTask task = task_record(call.thread, ticket, call.caller);
    in(board::bucket_of(task, call.caller.fingerprint)).push_back(std::move(task));
  }
  if (!in(TaskBucket::yours).empty()) {
    return "go on with " + in(TaskBucket::yours)[0].id + ", which you hold.";
  }
  for (const TaskBucket bucket : {TaskBucket::forYou, TaskBucket::readyToClaim}) {
    for (const TeamworkTask& task : in(bucket)) {
      if (task.ready) return "`qv task claim " + task.id + "`.";
    }
  }
  if (plan.pendingGoalComplete || !in(TaskBucket::forYou).empty() ||
      !in(TaskBucket::waiting).empty()) {
    return "nothing is READY. `qv wait` says when that changes.";
  }
  if (plan.goal.empty()) return "set the goal: `qv board goal \"<what this board works toward>\"`.";
  return call.thread.tickets.empty()
             ? "file the work: `qv task add \"<one line>\" --body \"<the brief>\"`."
             : "everything is finished: `qv board propose-complete`, or file more work.";
}

TeamworkDiscussion debate_record(TeamworkDiscussion debate, const Pane& reader) {
  debate.yourTurn = contains(debate.owingParties, reader.fingerprint);
  return debate;
}

TeamworkObligations owed_by(const Thread& thread, const Pane& reader) {
  const std::string& self = reader.fingerprint;
  TeamworkObligations owed;
  for (const TeamworkDiscussion& debate : thread.debates) {
    if (debate.owingParties.empty()) continue;
    const bool mine = contains(debate.owingParties, self);
    const bool in_it = debate.openedBy == self || contains(debate.addressedTo, self);
    const std::string& other = mine ? debate.openedBy : debate.owingParties.front();
    const DebateRef ref{debate.id, debate.taskID, debate.question, thread.handle_of(other)};
    if (mine) owed.oweReply.push_back(ref);
    if (in_it && !mine) owed.awaitingReply.push_back(ref);
  }
  for (const Ticket& task : thread.tickets) {
    if (task.finished()) continue;
    if (task.mentions.contains(self)) owed.mentionsToAnswer.push_back(task.id);
    if (task.blocked && task.blocked_by == self) owed.yourBlockersOpen.push_back(task.id);
    if (task.ownerFingerprint != self) continue;
    owed.tasksHeld.push_back(task.id);
    if (!task.pendingReleaseReason) continue;
    owed.releaseAsks.push_back(
        {task.id, thread.handle_of(task.release_asked_by), *task.pendingReleaseReason});
  }
  owed.clear = owed.oweReply.empty() && owed.mentionsToAnswer.empty() && owed.tasksHeld.empty() &&
               owed.yourBlockersOpen.empty();
  return owed;
}

TeamworkChangeFeed change_feed(const Call& call) {
  const Thread& thread = call.thread;
  const std::string& self = call.caller.fingerprint;
  const auto& scope = call.request.taskIDs;
  const std::int64_t since = call.request.sinceRev.value_or(0);
  TeamworkChangeFeed feed;
  feed.rev = thread.rev;
  feed.goal = thread.plan.goal;
  feed.pendingGoalComplete = thread.plan.pendingGoalComplete;
  for (const Event& event : thread.events) {
    if (event.rev <= since || event.actor == self) continue;
    // That the Thread is finished is a move like any other, told once and to everybody.
    if (event.kind == kFinished && thread.plan.goalComplete) {
      feed.goalComplete = true;
      add_to(feed, event, call);
      continue;
    }
    if (scope && !contains(*scope, event.taskID.value_or(""))) continue;
    const auto wake = std::ranges::find(event.wakes, self, &Wake::fingerprint);
    const bool called = wake != event.wakes.end();
    // Who asks for the first time wants to know where the board is, not how it got there.
    const bool heard = since > 0 && (scope || reaches(event, call));
    if (called) feed.wakeReasons.push_back(wake->reason);
    if (called || heard) add_to(feed, event, call);
  }
  for (const Letter& letter : call.caller.inbox) {
    if (!scope && letter.rev > since) feed.messages.push_back(letter.message);
  }
  return feed;
}

}  // namespace qv::sandbox
