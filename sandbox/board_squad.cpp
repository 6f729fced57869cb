// What one terminal may ask of another: a short note, a helper, the end of a helper. All of it
// asks that the person has switched on at least one helper, as the roster says.

#include <algorithm>

#include "base/text.h"
#include "board.h"
#include "helpers.h"

namespace qv::sandbox {

namespace {

Reply send_message(const Call& call) {
  const Pane& self = call.caller;
  const std::string off = squad_is_off(call.thread);
  if (!off.empty()) return refused(off);
  if (call.peer == nullptr) return refused("Name somebody.");
  call.record("messageLeft", {{call.peer->fingerprint, {"message"}}});
  const std::int64_t rev = call.thread.rev;
  const std::string name = self.name == self.handle ? "" : self.name;
  call.peer->inbox.push_back(
      {rev,
       call.thread.now,
       {"M-" + std::to_string(rev), self.handle, name, call.request.body.value_or("")}});
  return written("Left for " + call.peer->handle + ".");
}

Reply read_messages(const Call& call) {
  std::vector<TeamworkSquadMessage> messages;
  for (Letter& letter : call.caller.inbox) {
    letter.message.ageSeconds = seconds_between(letter.left, call.thread.now);
    messages.push_back(letter.message);
  }
  call.caller.inbox.clear();
  return {.kind = Kind::written,
          .message = messages.empty() ? "No notes for you." : "Notes for you:",
          .messages = messages};
}

// Why no helper can be started for the call; empty when one can.
std::string no_hands(const Call& call) {
  std::string off = squad_is_off(call.thread);
  if (!off.empty()) return off;
  if (call.request.to) return "There is no other device on this Thread. Start a helper here.";
  if (*squad_state(call.thread).helpersRunning >= kHelperLimit) {
    return "As many helpers are running as a Thread can have. Stop one: `qv squad stop <handle>`.";
  }
  if (call.request.taskID) {
    std::string missing = unmet(Needs::task, call);
    if (!missing.empty() || !call.task->finished()) return missing;
    return call.task->id + " is " + call.task->state + " already.";
  }
  return text::trimmed(call.request.title.value_or("")).empty()
             ? "Name the work in one line, or the ticket that it is with --taskID."
             : "";
}

Reply request_hands(const Call& call) {
  const std::string wrong = no_hands(call);
  if (!wrong.empty()) return refused(wrong);
  const std::vector<Helper>& helpers = call.thread.helpers;
  const auto& wanted = call.request.agent;
  if (!wanted && helpers.size() > 1) {
    return refused("Several helpers are allowed here. Say which one with --agent.");
  }
  const auto helper = wanted ? std::ranges::find(helpers, *wanted, &Helper::name) : helpers.begin();
  if (helper == helpers.end()) {
    return refused("No helper called " + *wanted +
                   " is allowed here. `qv board agents` lists them.");
  }
  Ticket& task = call.task == nullptr ? file_task(call) : *call.task;
  const Pane* started = start_helper(call.app, call.thread, *helper, call.caller, task);
  if (started == nullptr) return refused("The helper could not be started. The task is " + task.id);
  aim(call, task, *started);
  return written("Started " + started->handle + " (\"" + helper->name + "\") on " + task.id +
                 ". You are woken with its result; read it, then `qv squad stop " +
                 started->handle + "`.");
}

Reply stop(const Call& call) {
  const std::string handle = call.request.to.value_or("");
  Pane* running = running_helper(call.thread, handle);
  if (running == nullptr) {
    return refused("No helper called " + handle +
                   " is running here. `qv board agents` lists them.");
  }
  if (!is_helper_of(call.thread, *running, call.caller)) {
    return refused(running->handle + " was asked for by " +
                   call.thread.handle_of(running->hands->asked_by) +
                   ". Only whoever asked for it, or for its asker, and the person can stop it.");
  }
  stop_helper(call.thread, *running);
  return written("Stopped " + running->handle + ".");
}

Reply suggest_helper(const Call& call) {
  const TeamworkRequest& request = call.request;
  const std::string name(text::trimmed(request.agent.value_or("")));
  const std::string command = request.command.value_or("");
  if (name.empty()) return refused("A helper needs a name, as agents will ask for it.");
  const std::string wrong = unfit_command(command);
  if (!wrong.empty()) return refused(wrong);
  std::vector<Helper>& all = call.thread.suggestions;
  std::erase_if(all, [&](const Helper& helper) { return helper.name == name; });
  all.push_back({{.name = name,
                  .explanation = request.explanation.value_or(""),
                  .runsWithoutApprovals = true},
                 command,
                 call.caller.fingerprint,
                 request.body.value_or("")});
  return written("Suggested " + name +
                 ". Nothing runs from this. The person decides; here that is you: `qv-sandbox "
                 "person`.");
}

constexpr Method kMethods[] = {
    {"send_message", Needs::peers, send_message},    {"read_messages", Needs::seat, read_messages},
    {"request_hands", Needs::seat, request_hands},   {"stop_helper", Needs::seat, stop},
    {"suggest_helper", Needs::seat, suggest_helper},
};

}  // namespace

std::string squad_is_off(const Thread& thread) {
  if (!thread.helpers.empty()) return "";
  return "Squad is off for this thread. It is on while the person has switched on a helper.";
}

std::span<const Method> squad_methods() { return kMethods; }

}  // namespace qv::sandbox
