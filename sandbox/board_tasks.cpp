// A ticket's own road: filed, claimed by one seat, worked on, finished or put back.

#include <algorithm>

#include "base/text.h"
#include "board.h"

namespace qv::sandbox {

namespace {

// Why the fields that filing and updating have in common cannot be taken; empty when they can.
std::string wrong_fields(const Call& call) {
  constexpr std::size_t kLongestSummary = 280;
  for (const std::string& id : call.request.waitsOn.value_or(std::vector<std::string>())) {
    if (call.thread.ticket(id) == nullptr) return "There is no task " + id + " to wait on.";
  }
  if (is_blank(call.request.title)) return "A task needs a title: one line that says what it is.";
  if (is_blank(call.request.summary)) {
    return "The summary is empty. Say in one or two sentences what came out of it, and how you "
           "know.";
  }
  const std::size_t length = text::count_characters(call.request.summary.value_or(""));
  if (length <= kLongestSummary) return "";
  return "The summary is " + std::to_string(length) + " characters; the limit is " +
         std::to_string(kLongestSummary) + ". Keep it to one or two sentences for the human.";
}

// Takes over what was given; the names of what that was, but for the summary, which is logged.
std::vector<std::string_view> take_fields(TeamworkTask& task, const TeamworkRequest& request) {
  std::vector<std::string_view> taken;
  const auto take = [&](std::string_view name, auto& field, const auto& given) {
    if (!given) return;
    field = *given;
    taken.push_back(name);
  };
  take("title", task.title, request.title);
  take("brief", task.body, request.body);
  take("priority", task.priority, request.priority);
  take("type", task.type, request.taskType);
  take("resources", task.resources, request.resources);
  take("role", task.assignedRole, request.assignedRole);
  take("dependencies", task.waitsOn, request.waitsOn);
  take("reason for parking", task.parkedReason, request.parkReason);
  if (task.parkedReason == "") task.parkedReason.reset();
  if (request.summary) task.log.push_back("summary: " + *request.summary);
  return taken;
}

// Tells the seats of the role that the ticket is routed to, if the request routes it.
std::vector<Wake> wakes_of_role(const Call& call, const TeamworkTask& task) {
  const auto& role = call.request.assignedRole;
  const std::string news =
      call.caller.handle + " routed " + task.id + " to your role, " + role.value_or("") + ".";
  std::vector<Wake> wakes;
  for (const Pane& pane : call.thread.panes) {
    if (!role || !pane.seat || !pane.has_role(*role)) continue;
    wakes.push_back({pane.fingerprint, {"assigned", task.id, news, task.title}});
  }
  return wakes;
}

}  // namespace

void aim(const Call& call, Ticket& task, const Pane& at) {
  const std::string& who = call.caller.handle;
  const std::string gift = who + " handed you " + task.id + ".";
  const std::string loss = task.id + " was re-aimed at " + at.handle + " by " + who + ".";
  const std::vector<Wake> wakes{
      {at.fingerprint, {"assigned", task.id, gift, task.title}},
      {task.ownerFingerprint.value_or(""), {"unassigned", task.id, loss, {}}},
      {task.routedToFingerprint.value_or(""), {"unassigned", task.id, loss, {}}}};
  put_back(task, who + " took it off its holder.");
  task.routedToFingerprint = at.fingerprint;
  if (task.reports_to.empty()) task.reports_to = call.caller.fingerprint;
  task.log.push_back(who + " handed it to " + at.handle + ".");
  call.thread.record("taskAssigned", call.caller.fingerprint, task.id, wakes);
}

Ticket& file_task(const Call& call) {
  const Pane& self = call.caller;
  Ticket& task = call.thread.tickets.emplace_back();
  task.filed_by = self.fingerprint;
  task.id = "T-" + std::to_string(++call.thread.last_ticket);
  task.state = "open";
  task.watchers.push_back({"agent", self.fingerprint, self.handle, true});
  task.log.push_back(self.handle + " filed it.");
  take_fields(task, call.request);
  call.thread.record("taskAdded", self.fingerprint, task.id, wakes_of_role(call, task));
  return task;
}

namespace {

Reply add_task(const Call& call) {
  const std::string wrong = wrong_fields(call);
  if (!wrong.empty()) return refused(wrong);
  const std::string off = call.peer == nullptr ? "" : squad_is_off(call.thread);
  if (!off.empty()) return refused(off);
  Ticket& task = file_task(call);
  if (call.peer != nullptr) aim(call, task, *call.peer);
  return written("Filed " + task.id + (call.peer ? ", handed to " + call.peer->handle : "") + ".");
}

Reply list_tasks(const Call& call) {
  std::vector<TeamworkTask> tasks;
  for (const Ticket& ticket : call.thread.tickets) {
    tasks.push_back(task_record(call.thread, ticket, call.caller));
  }
  std::ranges::stable_sort(tasks, std::ranges::greater(), &TeamworkTask::priority);
  Reply reply{.kind = Kind::tasks, .tasks = std::move(tasks)};
  if (call.caller.seat) reply.agent = agent_record(call.thread, call.caller, call.caller);
  return reply;
}

Reply read_task(const Call& call) {
  if (call.task == nullptr) return {};
  return {.kind = Kind::task, .task = task_record(call.thread, *call.task, call.caller)};
}

// Why the open ticket is not to be had; empty when it is.
std::string not_ready(const Call& call) {
  const TeamworkTask task = task_record(call.thread, *call.task, call.caller);
  if (task.blocked) return task.id + " is blocked. It waits for the person's answer.";
  if (task.parkedReason) return task.id + " is parked: " + *task.parkedReason;
  if (!task.waitsOn.empty()) {
    return task.id + " is not ready: it waits on " + text::joined(task.waitsOn, ", ") + ".";
  }
  if (call.thread.is_for_another_role(task, call.caller)) {
    return task.id + " is for the role " + *task.assignedRole +
           ". `qv board agents` lists who has it.";
  }
  if (!task.routedToLive || task.routedToFingerprint == call.caller.fingerprint) return "";
  return task.id + " is aimed at " + call.thread.handle_of(*task.routedToFingerprint) +
         ", who is here. It is theirs to claim.";
}

Reply claim_task(const Call& call) {
  Ticket& task = *call.task;
  if (task.ownerFingerprint) return written("You hold " + task.id + " already.");
  const std::string wrong = not_ready(call);
  if (!wrong.empty()) return refused(wrong);
  task.state = "claimed";
  task.ownerFingerprint = call.caller.fingerprint;
  ++task.claimAttempts;
  task.log.push_back(call.caller.handle + " claimed it.");
  call.task->holders.insert(call.caller.fingerprint);
  call.caller.seat->waiting_until = call.thread.now;  // a claim says that it works
  call.record("taskClaimed");
  return written("Claimed " + task.id + ". The lease is " +
                 std::to_string(call.thread.lease.count()) +
                 "s, and every command of yours renews it.");
}

// Raises or clears the blocker, as the request says; the kind of move that this is.
std::string change_blocker(const Call& call) {
  Ticket& task = *call.task;
  const TeamworkRequest& request = call.request;
  if (!request.blocked && !request.blockerQuestion) return "taskUpdated";
  task.blocked = request.blocked.value_or(true);
  task.blockerAnswer.reset();
  task.blockerQuestion = task.blocked ? request.blockerQuestion : std::nullopt;
  call.task->blocked_by = call.caller.fingerprint;
  task.log.push_back(call.caller.handle + (task.blocked ? " is blocked: " : " is unblocked.") +
                     task.blockerQuestion.value_or(""));
  return task.blocked ? "taskBlocked" : "taskUnblocked";
}

// What is said of no task is about the caller.
Reply update_status(const Call& call) {
  const TeamworkRequest& request = call.request;
  TeamworkTask none;
  if (!request.note || request.summary || request.blocked || request.blockerQuestion ||
      !take_fields(none, request).empty()) {
    return refused(
        "Without a task id only --progress is kept, as your status. Name the task for anything "
        "else: `qv task update <task> ...`.");
  }
  call.caller.status = *request.note;
  return written("Noted as your status.");
}

Reply update_task(const Call& call) {
  const TeamworkRequest& request = call.request;
  if (!request.taskID) return update_status(call);
  const bool works = request.note || request.blocked || request.blockerQuestion;
  std::string wrong = unmet(works ? Needs::own_task : Needs::open_task, call);
  if (wrong.empty()) wrong = wrong_fields(call);
  if (!wrong.empty()) return refused(wrong);
  Ticket& task = *call.task;
  const std::string& who = call.caller.handle;
  const auto lines_before = static_cast<std::ptrdiff_t>(task.log.size());
  if (request.note) task.log.push_back(who + ": " + *request.note);
  const auto taken = take_fields(task, request);
  if (!taken.empty()) task.log.push_back(who + " changed the " + text::joined(taken, ", ") + ".");
  const std::string kind = change_blocker(call);
  const std::vector<std::string> news(task.log.begin() + lines_before, task.log.end());
  if (news.empty()) return refused("That changes nothing. `qv task update --help` lists what can.");
  call.record(kind, wakes_of_role(call, task), task.id + " moved: " + text::joined(news, "; "));
  return written("Updated " + task.id + ".");
}

// Tells those whom it concerns that a ticket which waited on the caller's is ready now.
void add_dependents(std::vector<Wake>& wakes, const Call& call) {
  const std::string& done = (*call.task).id;
  for (const Ticket& other : call.thread.tickets) {
    const TeamworkTask task = task_record(call.thread, other, call.caller);
    if (!contains(other.waitsOn, done) || !task.waitsOn.empty()) continue;
    const std::string news = task.id + " is ready: " + done + " is done.";
    for (const auto& who :
         {task.ownerFingerprint, task.routedToFingerprint, std::optional(other.filed_by)}) {
      wakes.push_back({who.value_or(""), {"dependencyReady", task.id, news, {}}});
    }
  }
}

Reply complete_task(const Call& call) {
  Ticket& task = *call.task;
  if (task.blocked) return refused(task.id + " is blocked. Clear that first.");
  if (task.reviewState == "requested") return refused(task.id + " is under review.");
  const std::string summary = call.request.summary.value_or("");
  const std::string wrong = wrong_fields(call);
  if (!wrong.empty()) return refused(wrong);
  task.state = "done";
  task.ownerFingerprint.reset();
  task.log.push_back(call.caller.handle + " completed it: " + summary);
  std::vector<Wake> wakes{{call.task->reports_to, {"helperFinished", task.id, "", summary}}};
  add_dependents(wakes, call);
  call.record("taskCompleted", wakes, task.id + " is done: " + summary);
  return written("Completed " + task.id + ".");
}

Reply reject_task(const Call& call) {
  Ticket& task = *call.task;
  const std::string reason = call.request.releaseReason.value_or("no reason given");
  task.state = "rejected";
  task.ownerFingerprint.reset();
  task.log.push_back(call.caller.handle + " rejected it: " + reason);
  call.record("taskRejected", {}, task.id + " was rejected: " + reason);
  return written("Rejected " + task.id + ".");
}

Reply delete_task(const Call& call) {
  const std::string id = (*call.task).id;
  const std::string reason = call.request.releaseReason.value_or("no reason given");
  call.record("taskDeleted", {}, id + " was deleted: " + reason);
  std::erase_if(call.thread.tickets, [&](const Ticket& ticket) { return ticket.id == id; });
  return written("Deleted " + id + ".");
}

Reply release_task(const Call& call) {
  const std::string& id = (*call.task).id;
  const std::string news = id + " was released, as you asked.";
  put_back(*call.task, call.caller.handle + " released it.");
  call.record("taskReleased", {{call.task->release_asked_by, {"dependencyReady", id, news, {}}}},
              id + " is back in the pool.");
  return written("Released " + id + ". It is back in the pool.");
}

Reply request_release(const Call& call) {
  Ticket& task = *call.task;
  if (!task.ownerFingerprint) return refused("Nobody holds " + task.id + ". You can claim it.");
  task.pendingReleaseReason = call.request.releaseReason.value_or("no reason given");
  call.task->release_asked_by = call.caller.fingerprint;
  const std::string ask = call.caller.handle + " asks you to release " + task.id + ".";
  call.record("releaseRequested",
              {{*task.ownerFingerprint, {"mentioned", task.id, ask, task.pendingReleaseReason}}});
  return written("Asked " + call.thread.handle_of(*task.ownerFingerprint) + " to release " +
                 task.id + ".");
}

Reply assign_task(const Call& call) {
  Ticket& task = *call.task;
  if (call.peer == nullptr || call.peer == &call.caller) return refused("Name somebody else.");
  if (task.finished()) return refused(task.id + " is " + task.state + " already.");
  const std::string off = squad_is_off(call.thread);
  if (!off.empty()) return refused(off);
  aim(call, task, *call.peer);
  return written("Handed " + task.id + " to " + call.peer->handle + ". They are told.");
}

constexpr Method kMethods[] = {
    {"add_task", Needs::peers, add_task},
    {"list_tasks", Needs::pane, list_tasks},
    {"read_task", Needs::seat, read_task},
    {"claim_task", Needs::open_task, claim_task},
    {"update_task", Needs::seat, update_task},
    {"complete_task", Needs::own_task, complete_task},
    {"reject_task", Needs::open_task, reject_task},
    {"delete_task", Needs::open_task, delete_task},
    {"release_task", Needs::own_task, release_task},
    {"request_release", Needs::task, request_release},
    {"assign_task", Needs::task, assign_task},
};

}  // namespace

std::span<const Method> task_methods() { return kMethods; }

}  // namespace qv::sandbox
