// The board bridge: reads a request, lets the Thread's rules answer it, writes the reply.
// Here are the seats, and what the Thread as a whole is about.

#include "board.h"

#include <algorithm>

#include "base/text.h"
#include "helpers.h"

namespace qv::sandbox {

namespace {

Reply take_seat(const Call& call) {
  Pane& self = call.caller;
  const std::string wanted = call.request.name.value_or(self.name);
  if (call.thread.is_taken(wanted, &self)) {
    return refused("Somebody here already answers to " + wanted + ". Register under another name.");
  }
  self.name = wanted;
  call.thread.seat(self);
  if (call.request.role) self.role = call.request.role;
  self.status = call.request.status.value_or(self.status);
  return {.kind = Kind::registered,
          .agent = agent_record(call.thread, self, self),
          .notice =
              "This board is qv-sandbox, a practice app: it lives in memory and ends with "
              "its command.",
          .squad = squad_state(call.thread)};
}

Reply leave(const Call& call) {
  const std::string held = call.thread.vacate(call.caller, "left the board");
  return written("You have left the board." +
                 (held.empty() ? "" : " Back in the pool: " + held + "."));
}

Reply heartbeat(const Call& call) {
  // A seat counts as waiting for this long after a waiting command last spoke for it.
  constexpr std::chrono::seconds kWaitingTime{45};
  Pane& self = call.caller;
  const bool waiting = call.request.waiting == true;
  self.status = call.request.status.value_or(self.status);
  self.stoodDown = waiting && call.request.standDown == true;
  const bool waited = self.seat->waiting_until > call.thread.now;
  self.seat->waiting_until = waiting ? call.thread.now + kWaitingTime : call.thread.now;
  const bool holds = std::ranges::any_of(call.thread.tickets, [&](const Ticket& ticket) {
    return ticket.ownerFingerprint == self.fingerprint;
  });
  if (is_running(self) && waiting && !waited && !holds) {
    const std::string news = "Your helper " + self.handle + " is free and waits for work.";
    call.record("helperIdle", {{self.hands->asked_by, {"helperIdle", {}, news, {}}}});
  }
  return {.kind = Kind::wake, .wakePending = !self.inbox.empty()};
}

Reply list_agents(const Call& call) {
  Reply reply{.kind = Kind::agents,
              .agents = std::vector<TeamworkAgent>(),
              .squad = squad_state(call.thread),
              .panes = std::vector<TeamworkPane>(),
              .runningHelpers = helper_runs(call.thread, call.caller)};
  for (const Pane& pane : call.thread.panes) {
    if (pane.seat) {
      reply.agents->push_back(agent_record(call.thread, pane, call.caller));
    } else if (!pane.id.empty() && &pane != &call.caller) {
      reply.panes->push_back({pane.handle});
    }
  }
  if (reply.agents->empty()) reply.kind = Kind::empty;
  return reply;
}

Reply read_plan(const Call& call) {
  TeamworkPlan plan = call.thread.plan;
  const std::string notice = "nextStep: " + next_step(call);
  for (const TeamworkDiscussion& debate : call.thread.debates) {
    if (!debate.taskID) plan.discussions.push_back(debate_record(debate, call.caller));
  }
  if (plan.goal.empty() && plan.charter.empty() && plan.discussions.empty()) {
    return {.notice = notice};
  }
  plan.otherLocalAgents = std::ranges::count_if(
      call.thread.panes, [&](const Pane& pane) { return pane.seat && &pane != &call.caller; });
  return {.kind = Kind::plan, .plan = plan, .notice = notice};
}

Reply set_goal(const Call& call) {
  call.thread.plan.goal = call.request.body.value_or("");
  call.thread.plan.goalComplete = call.thread.plan.pendingGoalComplete = false;
  call.record("goalSet");
  return written("The goal is set.");
}

Reply set_charter(const Call& call) {
  call.thread.plan.charter = call.request.name.value_or("");
  call.record("charterSet");
  return written("The charter is set.");
}

Reply propose_goal_complete(const Call& call) {
  const auto open = std::ranges::find_if_not(call.thread.tickets, &Ticket::finished);
  if (open != call.thread.tickets.end()) {
    return refused(open->id + " is still open. Complete, reject or delete it first.");
  }
  if (call.thread.plan.goalComplete) return refused("The goal is complete already.");
  call.thread.plan.pendingGoalComplete = true;
  call.record("goalProposed");
  return written(
      "Proposed. The person confirms it; here that is you: `qv-sandbox person confirm`.");
}

Reply poll_changes(const Call& call) {
  return {.kind = Kind::changes, .changes = change_feed(call)};
}

constexpr Method kMethods[] = {
    {"register", Needs::pane, take_seat},
    {"unregister", Needs::seat, leave},
    {"heartbeat", Needs::seat, heartbeat},
    {"list_agents", Needs::pane, list_agents},
    {"read_plan", Needs::pane, read_plan},
    {"set_goal", Needs::seat, set_goal},
    {"set_charter", Needs::seat, set_charter},
    {"propose_goal_complete", Needs::seat, propose_goal_complete},
    {"poll_changes", Needs::pane, poll_changes},
};

const Method* method_called(std::string_view name) {
  for (const auto& methods : {std::span<const Method>(kMethods), task_methods(), peer_methods(),
                              squad_methods(), person_methods()}) {
    const auto found = std::ranges::find(methods, name, &Method::name);
    if (found != methods.end()) return &*found;
  }
  return nullptr;
}

Reply called(const Method& method, const Call& call) {
  if (method.needs != Needs::nothing && call.caller.id.empty()) {
    return refused("caller is not attributable to a live pane");
  }
  const std::string missing = unmet(method.needs, call);
  if (!missing.empty()) return refused(missing);
  if (call.caller.seat) call.thread.seat(call.caller);
  return method.answer(call);
}

// Whether a poll has nothing to say yet, and may still wait for it.
bool is_held(const Call& call, const Reply& reply, Clock::time_point received) {
  constexpr std::chrono::milliseconds kLongestHold{30'000};  // a client reads for 40 seconds
  if (!reply.changes || reply.changes->changed || reply.changes->goalComplete) return false;
  const std::chrono::milliseconds wanted(call.request.holdMs.value_or(0));
  return call.thread.now < received + std::min(wanted, kLongestHold);
}

}  // namespace

void Call::record(const std::string& kind, std::vector<Wake> wakes, const std::string& news) const {
  if (task == nullptr) return thread.record(kind, caller.fingerprint, {}, wakes);
  const auto tell = [&](const std::optional<std::string>& who) {
    if (!news.empty()) wakes.push_back({who.value_or(""), {"taskWatched", task->id, news, {}}});
  };
  for (const TeamworkTaskWatcher& watcher : task->watchers) tell(watcher.fingerprint);
  tell(task->ownerFingerprint);
  thread.record(kind, caller.fingerprint, task->id, wakes);
}

std::vector<std::string> Call::tagged() const {
  std::vector<std::string> fingerprints;
  for (const std::string& tag : request.tags.value_or(std::vector<std::string>())) {
    if (const Pane* pane = thread.seated(tag)) fingerprints.push_back(pane->fingerprint);
  }
  return fingerprints;
}

std::string unmet(Needs needs, const Call& call) {
  if (needs < Needs::seat) return "";
  if (!call.caller.seat) {
    return "You have no seat on this board, so you can see ticket titles and nothing else. Run `qv "
           "board register` first.";
  }
  if (needs < Needs::peers) return "";
  const TeamworkRequest& request = call.request;
  std::vector<std::string> named = request.tags.value_or(std::vector<std::string>());
  for (const auto& name : {request.to, request.routedToFingerprint, request.reviewOfFingerprint}) {
    if (name) named.push_back(*name);
  }
  for (const std::string& name : named) {
    if (call.thread.seated(name) != nullptr) continue;
    return "Nobody here answers to " + name + ". `qv board agents` lists who does.";
  }
  if (needs < Needs::task) return "";
  if (call.task == nullptr) {
    return "There is no task " + request.taskID.value_or("without an id") +
           " on this board. `qv task list` shows what there is.";
  }
  if (needs < Needs::open_task) return "";
  const Ticket& task = *call.task;
  const bool own = task.ownerFingerprint == call.caller.fingerprint;
  if (task.finished()) return task.id + " is " + task.state + " already.";
  if (task.ownerFingerprint && !own) {
    return task.id + " is held by " + call.thread.handle_of(*task.ownerFingerprint) +
           ". Ask for it with `qv task request-release " + task.id +
           "`, or annotate it with `qv task comment " + task.id + "`.";
  }
  if (needs < Needs::own_task || own) return "";
  return "You do not hold " + task.id + ". Claim it first: `qv task claim " + task.id + "`.";
}

std::optional<std::string> answer_board(App& app, const std::string& text,
                                        Clock::time_point received) {
  app.advance();
  const auto request = record::from_text<TeamworkRequest>(text);
  if (!request) return record::to_text(refused("That is no request to a board."));
  if (request->token != app.token) return record::to_text(refused(kWrongToken));
  const Method* method = method_called(request->method);
  if (method == nullptr) {
    return record::to_text(
        Reply{.kind = Kind::error, .message = "This board knows no such method."});
  }
  // What the app and the person do, no pane does, from wherever it is asked for.
  Pane nobody;
  const auto [thread, pane] = app.place_of(request->sessionID);
  Pane& caller = pane == nullptr || method->needs == Needs::nothing ? nobody : *pane;
  const auto peer = request->to                    ? request->to
                    : request->routedToFingerprint ? request->routedToFingerprint
                                                   : request->reviewOfFingerprint;
  const Call call{app,
                  thread,
                  caller,
                  *request,
                  thread.ticket(request->taskID.value_or("")),
                  thread.seated(peer.value_or(""))};
  Reply reply = called(*method, call);
  if (is_held(call, reply, received)) return std::nullopt;
  reply.threadTag = thread.tag;
  reply.rev = thread.rev;
  if (caller.seat) reply.obligations = owed_by(thread, caller);
  return record::to_text(reply);
}

}  // namespace qv::sandbox
