// The roster, and what the Thread as a whole is about.

#include "base/text.h"
#include "board_methods.h"

namespace qv::sandbox::methods {

namespace {

// A seat counts as waiting for this long after a waiting command last spoke for it.
constexpr std::chrono::seconds kWaitingTime{45};

std::string given(const std::optional<std::string>& text) {
  return std::string(text::trimmed(text.value_or("")));
}

}  // namespace

Reply take_seat(const Call& call) {
  Thread& thread = call.thread;
  Pane& self = call.caller;
  const std::string wanted = given(call.request.name);
  const Pane* namesake = thread.seated(wanted);
  if (!wanted.empty() && namesake != nullptr && namesake != &self) {
    return refused("Somebody here already answers to " + wanted + ". Register under another name.");
  }
  if (!wanted.empty()) self.name = wanted;
  Seat& seat = thread.seat(self);
  if (call.request.role) seat.role = call.request.role;
  if (call.request.status) seat.status = *call.request.status;

  Reply reply;
  reply.kind = Reply::Kind::registered;
  reply.agent = agent_record(thread, self, self);
  reply.squad = squad_record(thread);
  reply.notice =
      "This board is qv-sandbox, a practice app: it lives in memory and ends with its command.";
  return reply;
}

Reply leave(const Call& call) {
  const auto held = call.thread.vacate(call.caller, "left the board");
  std::string message = "You have left the board.";
  if (!held.empty()) message += " Back in the pool: " + text::joined(held, ", ") + ".";
  return written(message);
}

Reply heartbeat(const Call& call) {
  Seat& seat = *call.caller.seat;
  if (call.request.status) seat.status = *call.request.status;
  const bool waiting = call.request.waiting.value_or(false);
  seat.waiting_until = call.thread.now() + (waiting ? kWaitingTime : std::chrono::seconds(0));
  seat.stood_down = waiting && call.request.standDown.value_or(false);

  Reply reply;
  reply.kind = Reply::Kind::wake;
  reply.wakePending = !call.caller.inbox.empty();
  return reply;
}

Reply list_agents(const Call& call) {
  Reply reply;
  reply.kind = Reply::Kind::agents;
  reply.agents.emplace();
  reply.panes.emplace();
  for (const Pane& pane : call.thread.panes) {
    if (!pane.open) continue;
    if (pane.seat) {
      reply.agents->push_back(agent_record(call.thread, pane, call.caller));
    } else if (&pane != &call.caller) {
      reply.panes->push_back({pane.handle});
    }
  }
  if (reply.agents->empty()) reply.kind = Reply::Kind::empty;
  reply.squad = squad_record(call.thread);
  reply.runningHelpers.emplace();
  for (const HelperRun& run : call.thread.helpers) {
    const auto running = call.thread.now() - run.started;
    reply.runningHelpers->push_back({
        .handle = call.thread.handle_of(run.fingerprint),
        .helper = "pretender",
        .state = run.idle ? "idle" : "working",
        .askedBy = call.thread.handle_of(run.asked_by),
        .runningForSeconds = std::chrono::duration_cast<std::chrono::seconds>(running).count(),
        .detail = "pretending",
        .yours = run.asked_by == call.caller.fingerprint,
        .kind = std::nullopt,
    });
  }
  return reply;
}

Reply read_plan(const Call& call) {
  const Thread& thread = call.thread;
  Reply reply;
  if (thread.goal.empty() && thread.charter.empty()) return reply;
  reply.kind = Reply::Kind::plan;
  TeamworkPlan& plan = reply.plan.emplace();
  plan.threadName = Thread::kName;
  plan.goal = thread.goal;
  plan.charter = thread.charter;
  plan.goalComplete = thread.goal_complete;
  plan.pendingGoalComplete = thread.goal_proposed;
  for (const Pane& pane : thread.panes) {
    if (pane.seat && &pane != &call.caller) ++plan.otherLocalAgents;
  }
  for (const TeamworkDiscussion& debate : thread.debates) {
    if (!debate.taskID) plan.discussions.push_back(debate_record(debate, call.caller));
  }
  return reply;
}

Reply set_goal(const Call& call) {
  const std::string goal = given(call.request.body);
  if (goal.empty()) return refused("A goal needs words.");
  call.thread.goal = goal;
  call.thread.goal_complete = false;
  call.thread.goal_proposed = false;
  call.thread.record(moves::kGoalSet, call.caller.fingerprint, std::nullopt);
  return written("The goal is set.");
}

Reply set_charter(const Call& call) {
  call.thread.charter = given(call.request.name);
  call.thread.record(moves::kCharterSet, call.caller.fingerprint, std::nullopt);
  return written("The charter is set.");
}

Reply propose_goal_complete(const Call& call) {
  Thread& thread = call.thread;
  if (thread.goal.empty()) return refused("This Thread has no goal yet, so none can be complete.");
  if (thread.goal_complete) return refused("The goal is complete already.");
  for (const Ticket& ticket : thread.tickets) {
    if (ticket.finished()) continue;
    return refused(ticket.record.id +
                   " is still open. Complete, reject or delete what is left first.");
  }
  thread.goal_proposed = true;
  thread.record(moves::kGoalProposed, call.caller.fingerprint, std::nullopt);
  return written(
      "Proposed. The person confirms it; here that is you: `qv-sandbox person confirm`.");
}

}  // namespace qv::sandbox::methods
