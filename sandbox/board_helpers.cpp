// Helpers are pretended: two seconds after it was asked for, the one helper this board offers
// completes its ticket without having done anything, so that asking, being woken and stopping
// can be practised.

#include "base/text.h"
#include "board_methods.h"

namespace qv::sandbox::methods {

namespace {

constexpr std::string_view kHelper = "pretender";
constexpr std::chrono::seconds kWorkingTime{2};

// The ticket the hands are for: the one named, or a new one.
Ticket* work_for(const Call& call) {
  if (call.request.taskID) return call.ticket;
  Ticket& ticket = call.thread.add_ticket();
  ticket.record.title = *call.request.title;
  ticket.record.body = call.request.body.value_or("");
  ticket.filed_by = call.caller.fingerprint;
  call.thread.record(moves::kAdded, call.caller.fingerprint, ticket.record.id);
  return &ticket;
}

Pane& start_pretending(const Call& call) {
  Thread& thread = call.thread;
  Pane& helper = thread.open_pane("", 0);
  helper.name = std::string(kHelper) + " " + helper.handle;
  Seat& seat = thread.seat(helper);
  seat.role = "helper";
  seat.status = "pretending to work";
  return helper;
}

std::string wrong_request(const Call& call) {
  const TeamworkRequest& request = call.request;
  const std::string agent = request.agent.value_or(std::string(kHelper));
  if (!call.thread.squad_on) return "Squad is off for this thread, so no helper can be started.";
  if (!call.caller.secret.empty()) return "A seat from outside cannot ask for hands.";
  if (request.to) return "There is no other device here; this is a practice app.";
  if (agent != kHelper)
    return "No helper called " + agent + " is allowed here, only " + std::string(kHelper) + ".";
  if (!request.taskID) return request.title ? "" : "Name the work: a title, or --taskID.";
  if (call.ticket == nullptr) return "There is no task " + *request.taskID + " on this board.";
  const TeamworkTask task = task_record(call.thread, *call.ticket, call.caller);
  return task.ready ? "" : task.id + " is not ready to be taken.";
}

}  // namespace

Reply request_hands(const Call& call) {
  const std::string wrong = wrong_request(call);
  if (!wrong.empty()) return refused(wrong);
  Thread& thread = call.thread;
  Ticket& ticket = *work_for(call);
  Pane& helper = start_pretending(call);
  TeamworkTask& task = ticket.record;
  task.state = "claimed";
  task.ownerFingerprint = helper.fingerprint;
  ++task.claimAttempts;
  task.log.push_back(helper.handle + " claimed it, only pretending.");
  ticket.holders.insert(helper.fingerprint);
  ticket.reports_to = call.caller.fingerprint;
  thread.helpers.push_back({.fingerprint = helper.fingerprint,
                            .asked_by = call.caller.fingerprint,
                            .taskID = task.id,
                            .started = thread.now(),
                            .finishes = thread.now() + kWorkingTime});
  thread.record(moves::kHelperStarted, call.caller.fingerprint, task.id);
  return written("A pretend helper, " + helper.handle + ", has " + task.id +
                 ". It does nothing but complete it in two seconds; then read it and stop it with "
                 "`qv squad stop " +
                 helper.handle + "`.");
}

Reply stop_helper(const Call& call) {
  const std::string to = call.request.to.value_or("");
  const Pane* helper = call.thread.somebody(to);
  for (const HelperRun& run : call.thread.helpers) {
    if (helper == nullptr || run.fingerprint != helper->fingerprint) continue;
    if (run.asked_by != call.caller.fingerprint) {
      return refused(call.thread.handle_of(run.asked_by) +
                     " asked for that helper, so it is theirs to stop.");
    }
    const std::string handle = helper->handle;
    call.thread.stop_helper(std::string(run.fingerprint));
    return written("Stopped " + handle + ".");
  }
  return refused("No helper called " + to + " is running here.");
}

Reply suggest_helper(const Call& call) {
  const std::string name = call.request.agent.value_or("");
  const std::string command = call.request.command.value_or("");
  if (text::trimmed(name).empty() || text::trimmed(command).empty()) {
    return refused("A suggestion needs a name and a command.");
  }
  if (command.find_first_of(";|<>&`") != std::string::npos ||
      command.find("$(") != std::string::npos) {
    return refused("One simple command only: no ;, pipes, redirects or $(.");
  }
  return written("Suggested " + name +
                 ". This is a practice app without a Squad drawer, so nobody will ever read it.");
}

}  // namespace qv::sandbox::methods
