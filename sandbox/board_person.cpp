// The app and the person at it, as far as a board needs them: terminals are opened, blockers
// answered, the goal confirmed, the squad switched, notes unlocked, join codes shown. Only
// qv-sandbox itself asks for these.

#include <utility>

#include "base/text.h"
#include "board_methods.h"

namespace qv::sandbox::methods {

Reply open_pane(const Call& call) {
  const auto pid = text::whole_number(call.request.name.value_or(""));
  if (!pid || *pid <= 1 || !std::in_range<pid_t>(*pid))
    return refused("A pane needs the id of its process.");
  const Pane& pane = call.thread.open_pane("", static_cast<pid_t>(*pid));
  Reply reply = written(pane.handle);
  reply.panes = {{pane.handle}};
  reply.notice = pane.session;
  return reply;
}

Reply person_answers(const Call& call) {
  if (call.ticket == nullptr || !call.ticket->record.blocked) {
    return refused("No task by that id is blocked. `qv task list` shows which are.");
  }
  TeamworkTask& task = call.ticket->record;
  task.blockerAnswer = call.request.body;
  task.log.push_back("the person answered: " + call.request.body.value_or(""));
  const std::string next =
      "Clear it when you go on: `qv task update " + task.id + " --blocked false`.";
  call.thread.record(
      moves::kUpdated, "", task.id,
      {wake(call.ticket->blocked_by, "blockerAnswered", task.id,
            "The person answered " + task.id + ": " + call.request.body.value_or(""), next)});
  return written("Answered " + task.id + ".");
}

Reply person_completes_goal(const Call& call) {
  Thread& thread = call.thread;
  if (!thread.goal_proposed) return refused("Nobody proposed that the goal is complete.");
  thread.goal_proposed = false;
  thread.goal_complete = true;
  thread.record(moves::kGoalCompleted, "", std::nullopt);
  return written("The goal is complete.");
}

Reply person_reopens_goal(const Call& call) {
  Thread& thread = call.thread;
  if (!thread.goal_proposed && !thread.goal_complete) return refused("The goal is open.");
  thread.goal_proposed = false;
  thread.goal_complete = false;
  thread.record(moves::kGoalReopened, "", std::nullopt);
  return written("The goal is open again.");
}

Reply person_switches_squad(const Call& call) {
  Thread& thread = call.thread;
  thread.squad_on = call.request.name == "on";
  std::vector<Wake> wakes;
  for (const Pane& pane : thread.panes) {
    if (pane.seat && !thread.squad_on) wakes.push_back(wake(pane.fingerprint, "squadClosed"));
  }
  thread.record(moves::kSquadSwitched, "", std::nullopt, std::move(wakes));
  return written(thread.squad_on ? "Squad is on." : "Squad is off.");
}

Reply person_unlocks(const Call& call) {
  RoomNote* note = call.thread.room.note(call.request.name.value_or(""));
  if (note == nullptr || !note->read_only) return refused("No note of that name is locked.");
  note->read_only = false;
  return written("Unlocked \"" + note->name + "\".");
}

Reply person_reads_code(const Call& call) { return written(call.thread.join_code); }

}  // namespace qv::sandbox::methods
