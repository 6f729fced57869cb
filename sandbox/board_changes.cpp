// A change feed is read off the log each time it is asked for: the moves since a revision,
// without the reader's own, as far as they concern it.

#include <algorithm>

#include "board_methods.h"

namespace qv::sandbox {

namespace {

bool names(const std::vector<std::string>& list, const std::string& wanted) {
  return std::ranges::find(list, wanted) != list.end();
}

const Wake* wake_in(const Event& event, const Pane& reader) {
  const auto found = std::ranges::find(event.wakes, reader.fingerprint, &Wake::fingerprint);
  return found == event.wakes.end() ? nullptr : &*found;
}

bool stood_down(const Call& call) {
  const auto& seat = call.caller.seat;
  return seat && seat->stood_down && seat->waiting_until > call.thread.now();
}

// Whether a waiter for the whole board is to hear of it though it is not called by name.
bool reaches(const Event& event, const Call& call) {
  if (event.move.reach == Reach::goal) return true;
  if (stood_down(call)) {
    const Ticket* ticket = event.taskID ? call.thread.ticket(*event.taskID) : nullptr;
    return ticket != nullptr && ticket->holders.contains(call.caller.fingerprint);
  }
  if (event.move.reach == Reach::states) return call.request.wakeOnStateChanges.value_or(false);
  return event.move.reach == Reach::everyone;
}

void add_to(TeamworkChangeFeed& feed, const Event& event, const Call& call) {
  feed.changed = true;
  const std::string kind(event.move.name);
  if (!names(feed.changeKinds, kind)) feed.changeKinds.push_back(kind);
  feed.changes.push_back({kind, event.taskID});
  if (!event.taskID) return;
  const auto same = [&](const TeamworkTask& task) { return task.id == *event.taskID; };
  const Ticket* ticket = call.thread.ticket(*event.taskID);
  if (ticket == nullptr || std::ranges::any_of(feed.tasks, same)) return;
  feed.tasks.push_back(task_record(call.thread, *ticket, call.caller));
}

}  // namespace

TeamworkChangeFeed change_feed(const Call& call) {
  Thread& thread = call.thread;
  TeamworkChangeFeed feed;
  feed.rev = thread.rev();
  feed.goal = thread.goal;
  feed.goalComplete = thread.goal_complete;
  feed.pendingGoalComplete = thread.goal_proposed;
  const std::int64_t since = call.request.sinceRev.value_or(0);
  for (const Event& event : thread.events()) {
    if (event.rev <= since || event.actor == call.caller.fingerprint) continue;
    const Wake* wake = wake_in(event, call.caller);
    if (call.request.taskIDs && !(event.taskID && names(*call.request.taskIDs, *event.taskID))) {
      continue;
    }
    // Who asks for the first time wants to know where the board is, not how it got there.
    const bool heard = since > 0 && (call.request.taskIDs || reaches(event, call));
    if (wake == nullptr && !heard) continue;
    if (wake != nullptr) feed.wakeReasons.push_back(wake->reason);
    add_to(feed, event, call);
  }
  if (call.request.taskIDs) return feed;
  for (const Note& note : call.caller.inbox) {
    if (note.rev > since) feed.messages.push_back(note.message);
  }
  return feed;
}

}  // namespace qv::sandbox
