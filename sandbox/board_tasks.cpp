// A ticket's own road: filed, claimed by one seat, worked on, finished or put back.

#include <algorithm>

#include "base/text.h"
#include "board_methods.h"

namespace qv::sandbox::methods {

namespace {

using Kind = Reply::Kind;

constexpr std::size_t kLongestSummary = 280;

bool held_by(const Ticket& ticket, const Pane& pane) {
  return ticket.record.ownerFingerprint == pane.fingerprint;
}

Reply no_such_task(const std::string& id) {
  return refused("There is no task " + id + " on this board. `qv task list` shows what there is.");
}

Reply held_by_another(const Call& call) {
  const TeamworkTask& task = call.ticket->record;
  return refused(task.id + " is held by " + call.thread.handle_of(*task.ownerFingerprint) +
                 ". Ask for it with `qv task request-release " + task.id +
                 "`, or annotate it with `qv task comment " + task.id + "`.");
}

// Whether waiting on `id` would, sooner or later, be waiting on `self`.
bool leads_to(Thread& thread, const std::string& id, const std::string& self) {
  if (id == self) return true;
  const Ticket* ticket = thread.ticket(id);
  if (ticket == nullptr) return false;
  return std::ranges::any_of(ticket->record.waitsOn,
                             [&](const auto& next) { return leads_to(thread, next, self); });
}

// Why these cannot be what the ticket waits on; empty when they can.
std::string wrong_waits(const Call& call, const std::string& self) {
  for (const std::string& id : call.request.waitsOn.value_or(std::vector<std::string>())) {
    if (call.thread.ticket(id) == nullptr) return "There is no task " + id + " to wait on.";
    if (leads_to(call.thread, id, self)) {
      return self + " cannot wait on " + id + ": that would be waiting on itself.";
    }
  }
  return "";
}

std::string wrong_summary(const std::optional<std::string>& summary) {
  const std::size_t length = text::count_characters(summary.value_or(""));
  if (length <= kLongestSummary) return "";
  return "The summary is " + std::to_string(length) + " characters; the limit is " +
         std::to_string(kLongestSummary) + ". Keep it to one or two sentences for the human.";
}

// Copies the fields that filing and updating have in common.
void fill(TeamworkTask& task, const TeamworkRequest& request) {
  if (request.title) task.title = *request.title;
  if (request.body) task.body = *request.body;
  if (request.priority) task.priority = *request.priority;
  if (request.taskType) task.type = request.taskType;
  if (request.resources) task.resources = *request.resources;
  if (request.assignedRole) task.assignedRole = request.assignedRole;
  if (request.waitsOn) task.waitsOn = *request.waitsOn;
}

void set_summary(Ticket& ticket, const std::optional<std::string>& summary) {
  if (!summary) return;
  ticket.summary = *summary;
  ticket.lines_since_summary = 0;
  ticket.record.log.push_back("summary: " + *summary);
}

// Why the caller may not claim the ticket; empty when it may.
std::string wrong_claim(const Call& call) {
  Thread& thread = call.thread;
  const TeamworkTask task = task_record(thread, *call.ticket, call.caller);
  if (call.ticket->finished())
    return task.id + " is " + task.state + "; there is nothing to claim.";
  if (task.blocked) return task.id + " is blocked. It waits for the person's answer.";
  if (task.parkedReason) return task.id + " is parked: " + *task.parkedReason;
  if (!task.unresolvedWaitsOn->empty()) {
    return task.id + " is not ready: it waits on " + text::joined(*task.unresolvedWaitsOn, ", ") +
           ".";
  }
  if (task.routedToLive && task.routedToFingerprint != call.caller.fingerprint) {
    return task.id + " is aimed at " + thread.handle_of(*task.routedToFingerprint) +
           ", who is here. It is theirs to claim.";
  }
  if (task.assignedRole && call.caller.seat->role != task.assignedRole) {
    return task.id + " is for the role " + *task.assignedRole +
           ". Register with --role to take it.";
  }
  for (const Ticket& other : thread.tickets) {
    if (!other.record.ownerFingerprint || &other == call.ticket) continue;
    for (const std::string& resource : task.resources) {
      if (std::ranges::find(other.record.resources, resource) == other.record.resources.end())
        continue;
      return task.id + " needs " + resource + ", which " + other.record.id + " holds now.";
    }
  }
  return "";
}

// Raises or clears the blocker, as the request says; the move that this is.
Move change_blocker(const Call& call) {
  TeamworkTask& task = call.ticket->record;
  const TeamworkRequest& request = call.request;
  const bool raise = request.blocked.value_or(request.blockerQuestion.has_value());
  if (!raise && !request.blocked) return moves::kUpdated;
  task.blocked = raise;
  task.blockerAnswer.reset();
  task.blockerQuestion = raise ? request.blockerQuestion : std::nullopt;
  call.ticket->blocked_by = raise ? call.caller.fingerprint : "";
  task.log.push_back(call.caller.handle + (raise ? " is blocked: " : " is unblocked.") +
                     task.blockerQuestion.value_or(""));
  return raise ? moves::kBlocked : moves::kUnblocked;
}

void log_progress(const Call& call) {
  if (!call.request.note) return;
  call.ticket->record.log.push_back(call.caller.handle + ": " + *call.request.note);
  call.ticket->wrote_since_claim = true;
  ++call.ticket->lines_since_summary;
}

}  // namespace

Reply add_task(const Call& call) {
  const TeamworkRequest& request = call.request;
  if (text::trimmed(request.title.value_or("")).empty()) return refused("A task needs a title.");
  const std::string wrong = wrong_waits(call, "") + wrong_summary(request.summary);
  if (!wrong.empty()) return refused(wrong);
  const auto aimed = request.to ? request.to : request.routedToFingerprint;
  const Pane* peer = call.thread.seated(aimed.value_or(""));
  if (aimed && peer == nullptr) {
    return refused("Nobody here answers to " + *aimed + ". `qv board agents` lists who does.");
  }
  Ticket& ticket = call.thread.add_ticket();
  ticket.filed_by = call.caller.fingerprint;
  fill(ticket.record, request);
  ticket.record.watchers.push_back({"agent", call.caller.fingerprint, call.caller.handle, true});
  ticket.record.log.push_back(call.caller.handle + " filed it.");
  set_summary(ticket, request.summary);
  call.thread.record(moves::kAdded, call.caller.fingerprint, ticket.record.id);
  if (peer != nullptr) aim(call, ticket, *peer);
  return written("Filed " + ticket.record.id + (peer ? ", handed to " + peer->handle : "") + ".");
}

Reply list_tasks(const Call& call) {
  Reply reply;
  reply.kind = Kind::tasks;
  reply.tasks.emplace();
  for (const Ticket& ticket : call.thread.tickets) {
    reply.tasks->push_back(task_record(call.thread, ticket, call.caller));
  }
  std::ranges::stable_sort(*reply.tasks, std::ranges::greater(), &TeamworkTask::priority);
  if (call.caller.seat) reply.agent = agent_record(call.thread, call.caller, call.caller);
  return reply;
}

Reply read_task(const Call& call) {
  Reply reply;
  if (call.ticket == nullptr) return reply;
  reply.kind = Kind::task;
  reply.task = task_record(call.thread, *call.ticket, call.caller);
  return reply;
}

Reply claim_task(const Call& call) {
  TeamworkTask& task = call.ticket->record;
  if (held_by(*call.ticket, call.caller)) return written("You hold " + task.id + " already.");
  if (task.ownerFingerprint) return held_by_another(call);
  const std::string wrong = wrong_claim(call);
  if (!wrong.empty()) return refused(wrong);
  task.state = "claimed";
  task.ownerFingerprint = call.caller.fingerprint;
  ++task.claimAttempts;
  task.log.push_back(call.caller.handle + " claimed it.");
  call.ticket->holders.insert(call.caller.fingerprint);
  call.ticket->mentions.erase(call.caller.fingerprint);
  call.ticket->wrote_since_claim = false;
  call.thread.record(moves::kClaimed, call.caller.fingerprint, task.id);
  return written("Claimed " + task.id + ". The lease is " +
                 std::to_string(call.thread.lease().count()) +
                 "s, and every command of yours renews it.");
}

Reply update_task(const Call& call) {
  const TeamworkRequest& request = call.request;
  if (!request.taskID) {
    if (!request.note)
      return refused("Name a task, or say with --progress what the board should know.");
    call.caller.seat->status = *request.note;
    return written("Noted as your status.");
  }
  if (call.ticket == nullptr) return no_such_task(*request.taskID);
  Ticket& ticket = *call.ticket;
  TeamworkTask& task = ticket.record;
  if (ticket.finished())
    return refused(task.id + " is " + task.state + "; it can be commented on.");
  if (task.ownerFingerprint && !held_by(ticket, call.caller)) return held_by_another(call);
  const bool works =
      request.note || request.blocked || request.blockerQuestion || request.parkReason;
  if (works && !held_by(ticket, call.caller)) {
    return refused("You do not hold " + task.id + ". Claim it first: `qv task claim " + task.id +
                   "`.");
  }
  const std::string wrong = wrong_waits(call, task.id) + wrong_summary(request.summary);
  if (!wrong.empty()) return refused(wrong);
  fill(task, request);
  log_progress(call);
  set_summary(ticket, request.summary);
  if (request.parkReason) {
    task.parkedReason = request.parkReason->empty() ? std::nullopt : request.parkReason;
  }
  const Move move = change_blocker(call);
  call.thread.record(move, call.caller.fingerprint, task.id,
                     wake_followers(ticket, task.id + " moved: " + task.log.back()));
  return written("Updated " + task.id + ".");
}

Reply complete_task(const Call& call) {
  const TeamworkTask& task = call.ticket->record;
  if (call.ticket->finished()) return refused(task.id + " is " + task.state + " already.");
  if (!held_by(*call.ticket, call.caller)) {
    return task.ownerFingerprint ? held_by_another(call)
                                 : refused("Nobody holds " + task.id +
                                           ". Claim it first: `qv task claim " + task.id + "`.");
  }
  if (task.blocked) {
    return refused(task.id + " is blocked. Clear that first: `qv task update " + task.id +
                   " --blocked false`.");
  }
  if (task.reviewState == "requested")
    return refused(task.id + " is under review. Wait for the verdict.");
  const std::string summary(text::trimmed(call.request.summary.value_or("")));
  if (summary.empty())
    return refused("A finished task needs a summary: the outcome, and how you verified it.");
  const std::string wrong = wrong_summary(summary);
  if (!wrong.empty()) return refused(wrong);
  call.thread.finish(*call.ticket, call.caller, summary);
  return written("Completed " + task.id + ".");
}

Reply reject_task(const Call& call) {
  TeamworkTask& task = call.ticket->record;
  if (call.ticket->finished()) return refused(task.id + " is " + task.state + " already.");
  if (task.ownerFingerprint && !held_by(*call.ticket, call.caller)) return held_by_another(call);
  const std::string reason = call.request.releaseReason.value_or("no reason given");
  task.state = "rejected";
  task.ownerFingerprint.reset();
  task.log.push_back(call.caller.handle + " rejected it: " + reason);
  call.thread.record(moves::kRejected, call.caller.fingerprint, task.id,
                     wake_followers(*call.ticket, task.id + " was rejected: " + reason));
  return written("Rejected " + task.id + ".");
}

Reply delete_task(const Call& call) {
  const TeamworkTask& task = call.ticket->record;
  if (task.ownerFingerprint && !held_by(*call.ticket, call.caller)) return held_by_another(call);
  const std::string id = task.id;
  call.thread.record(moves::kDeleted, call.caller.fingerprint, id,
                     wake_followers(*call.ticket, id + " was deleted."));
  std::erase_if(call.thread.tickets, [&](const Ticket& ticket) { return ticket.record.id == id; });
  for (TeamworkDiscussion& debate : call.thread.debates) {
    if (debate.taskID == id) debate.state = "resolved";
  }
  return written("Deleted " + id + ".");
}

Reply release_task(const Call& call) {
  const TeamworkTask& task = call.ticket->record;
  if (!held_by(*call.ticket, call.caller)) return refused("You do not hold " + task.id + ".");
  const std::string asker = call.ticket->release_asked_by;
  call.thread.put_back(*call.ticket, call.caller.handle + " released it.");
  std::vector<Wake> wakes = wake_followers(*call.ticket, task.id + " is back in the pool.");
  wakes.push_back(
      wake(asker, "dependencyReady", task.id, task.id + " was released, as you asked."));
  call.thread.record(moves::kReleased, call.caller.fingerprint, task.id, std::move(wakes));
  return written("Released " + task.id + ". It is back in the pool.");
}

}  // namespace qv::sandbox::methods
