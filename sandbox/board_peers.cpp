// What seats do to one another's attention: follow, ask, review, comment, hand over, write.

#include <algorithm>
#include <iterator>

#include "base/text.h"
#include "board_methods.h"

namespace qv::sandbox {

namespace {

Reply nobody_called(const std::string& named) {
  return refused("Nobody here answers to " + named + ". `qv board agents` lists who does.");
}

constexpr const char* kSquadIsOff =
    "Squad is off for this thread, so no agent here can be addressed directly. Coordinate through "
    "the board.";

}  // namespace

void aim(const Call& call, Ticket& ticket, const Pane& at) {
  TeamworkTask& task = ticket.record;
  const std::string who = call.caller.handle;
  const std::string loss = task.id + " was re-aimed at " + at.handle + " by " + who + ".";
  std::vector<Wake> wakes{
      wake(at.fingerprint, "assigned", task.id, who + " handed you " + task.id + ".", task.title)};
  for (const auto& loser : {task.ownerFingerprint, task.routedToFingerprint}) {
    wakes.push_back(wake(loser.value_or(""), "unassigned", task.id, loss));
  }
  call.thread.put_back(ticket, who + " took it off its holder.");
  task.routedToFingerprint = at.fingerprint;
  if (ticket.reports_to.empty()) ticket.reports_to = call.caller.fingerprint;
  task.log.push_back(who + " handed it to " + at.handle + ".");
  call.thread.record(moves::kAssigned, call.caller.fingerprint, task.id, std::move(wakes));
}

namespace methods {

Reply watch_task(const Call& call) {
  auto& watchers = call.ticket->record.watchers;
  const auto follows = [&](const auto& watcher) {
    return watcher.fingerprint == call.caller.fingerprint;
  };
  if (std::ranges::none_of(watchers, follows)) {
    watchers.push_back({"agent", call.caller.fingerprint, call.caller.handle, false});
  }
  return written("You follow " + call.ticket->record.id + ".");
}

Reply unwatch_task(const Call& call) {
  std::erase_if(call.ticket->record.watchers, [&](const TeamworkTaskWatcher& watcher) {
    return watcher.fingerprint == call.caller.fingerprint;
  });
  return written("You no longer follow " + call.ticket->record.id + ".");
}

Reply request_release(const Call& call) {
  TeamworkTask& task = call.ticket->record;
  if (!task.ownerFingerprint) return refused("Nobody holds " + task.id + ". You can claim it.");
  if (task.ownerFingerprint == call.caller.fingerprint) {
    return refused("You hold " + task.id + " yourself: `qv task release " + task.id + "`.");
  }
  const std::string reason = call.request.releaseReason.value_or("no reason given");
  task.pendingReleaseReason = reason;
  call.ticket->release_asked_by = call.caller.fingerprint;
  const std::string ask = call.caller.handle + " asks you to release " + task.id + ".";
  call.thread.record(moves::kReleaseAsked, call.caller.fingerprint, task.id,
                     {wake(*task.ownerFingerprint, "mentioned", task.id, ask, reason)});
  return written("Asked " + call.thread.handle_of(*task.ownerFingerprint) + " to release " +
                 task.id + ".");
}

Reply request_review(const Call& call) {
  Ticket& ticket = *call.ticket;
  TeamworkTask& task = ticket.record;
  if (task.ownerFingerprint != call.caller.fingerprint) {
    return refused("Only the holder of " + task.id + " can ask for its review.");
  }
  const auto& agent = call.request.reviewOfFingerprint;
  const auto& role = call.request.reviewOfRole;
  if (!agent && !role) return refused("Say who reviews it: --ofAgent or --ofRole.");
  const Pane* reviewer = call.thread.seated(agent.value_or(""));
  if (agent && reviewer == nullptr) return nobody_called(*agent);
  if (reviewer == &call.caller) return refused("You cannot review your own work.");

  task.reviewState = "requested";
  task.reviewNote = call.request.note;
  task.reviewByFingerprint.reset();
  task.reviewRequestedFromFingerprint.reset();
  if (reviewer != nullptr) task.reviewRequestedFromFingerprint = reviewer->fingerprint;
  ticket.review_role = role;
  ticket.review_asked_by = call.caller.fingerprint;
  std::vector<Wake> wakes;
  for (const Pane& pane : call.thread.panes) {
    const bool meant = &pane == reviewer || (!agent && pane.seat && pane.seat->role == role);
    if (meant)
      wakes.push_back(wake(pane.fingerprint, "reviewRequested", task.id, "", task.reviewNote));
  }
  call.thread.record(moves::kReviewRequested, call.caller.fingerprint, task.id, std::move(wakes));
  return written("Asked " + (reviewer ? reviewer->handle : "the role " + *role) + " to review " +
                 task.id + ".");
}

Reply verify_task(const Call& call) {
  TeamworkTask& task = call.ticket->record;
  if (task.reviewState != "requested")
    return refused("Nobody asked for a review of " + task.id + ".");
  if (!call.request.approve) return refused("Say --approve true or --approve false.");
  const bool by_name = task.reviewRequestedFromFingerprint == call.caller.fingerprint;
  const bool by_role =
      call.ticket->review_role && call.caller.seat->role == call.ticket->review_role;
  if ((!by_name && !by_role) || call.ticket->review_asked_by == call.caller.fingerprint) {
    return refused("The review of " + task.id + " was not asked of you.");
  }
  const bool approved = *call.request.approve;
  task.reviewState = approved ? "approved" : "changes requested";
  task.reviewByFingerprint = call.caller.fingerprint;
  task.reviewNote = call.request.note;
  const std::string verdict = call.caller.handle + (approved ? " approved it" : " sent it back");
  task.log.push_back(verdict + (call.request.note ? ": " + *call.request.note : "."));
  call.thread.record(moves::kReviewed, call.caller.fingerprint, task.id,
                     {wake(call.ticket->review_asked_by, "reviewVerdict", task.id,
                           task.id + ": " + verdict + ".", call.request.note)});
  return written("Verdict on " + task.id + ": " + *task.reviewState + ".");
}

Reply comment_task(const Call& call) {
  Ticket& ticket = *call.ticket;
  TeamworkTask& task = ticket.record;
  const TeamworkRequest& request = call.request;
  if (!request.note && !request.summary) return refused("A comment needs --text or --summary.");
  std::vector<Wake> wakes;
  for (const std::string& tag : request.tags.value_or(std::vector<std::string>())) {
    const Pane* peer = call.thread.seated(tag);
    if (peer == nullptr) return nobody_called(tag);
    wakes.push_back(wake(peer->fingerprint, "mentioned", task.id, "", request.note));
  }
  const bool claimed_by_other =
      task.ownerFingerprint && task.ownerFingerprint != call.caller.fingerprint;
  if (request.summary && claimed_by_other) {
    return refused("The summary of " + task.id + " is its holder's to keep.");
  }
  if (request.summary) {
    ticket.summary = *request.summary;
    task.log.push_back("summary: " + *request.summary);
  }
  if (request.note) {
    const std::string line = call.caller.handle + " commented: " + *request.note;
    const auto last = ticket.last_comment.find(call.caller.fingerprint);
    const bool amend = request.editLast.value_or(false);
    if (amend && last == ticket.last_comment.end()) {
      return refused("You have not commented on " + task.id + " yet.");
    }
    if (!amend) task.log.emplace_back();
    const std::size_t at = amend ? last->second : task.log.size() - 1;
    task.log[at] = line;
    ticket.last_comment[call.caller.fingerprint] = at;
  }
  ticket.mentions.erase(call.caller.fingerprint);
  for (const Wake& wake : wakes) ticket.mentions.insert(wake.fingerprint);
  std::ranges::copy(wake_followers(ticket, "New on " + task.id + ": " + task.log.back()),
                    std::back_inserter(wakes));
  call.thread.record(moves::kCommented, call.caller.fingerprint, task.id, std::move(wakes));
  return written("Commented on " + task.id + ".");
}

Reply assign_task(const Call& call) {
  if (!call.thread.squad_on) return refused(kSquadIsOff);
  const std::string to = call.request.to.value_or("");
  const Pane* peer = call.thread.seated(to);
  const TeamworkTask& task = call.ticket->record;
  if (peer == nullptr) return nobody_called(to);
  if (peer == &call.caller)
    return refused("That is you: `qv task claim " + task.id + "` takes it.");
  if (call.ticket->finished()) return refused(task.id + " is " + task.state + " already.");
  aim(call, *call.ticket, *peer);
  return written("Handed " + task.id + " to " + peer->handle + ". They are told.");
}

Reply send_message(const Call& call) {
  if (!call.thread.squad_on) return refused(kSquadIsOff);
  const std::string to = call.request.to.value_or("");
  Pane* peer = call.thread.seated(to);
  if (peer == nullptr) return nobody_called(to);
  if (peer == &call.caller) return refused("That is you.");
  const std::string text(text::trimmed(call.request.body.value_or("")));
  if (text.empty()) return refused("A note needs words.");
  call.thread.record(moves::kMessage, call.caller.fingerprint, std::nullopt,
                     {wake(peer->fingerprint, "message")});
  const std::int64_t rev = call.thread.rev();
  const std::string& name = call.caller.seat->name;
  peer->inbox.push_back({rev,
                         call.thread.now(),
                         {.id = "M-" + std::to_string(rev),
                          .from = call.caller.handle,
                          .fromName = name == call.caller.handle ? "" : name,
                          .text = text}});
  return written("Left for " + peer->handle + ".");
}

Reply read_messages(const Call& call) {
  const std::size_t count = call.caller.inbox.size();
  Reply reply = written(count == 0   ? "No notes for you."
                        : count == 1 ? "One note for you:"
                                     : std::to_string(count) + " notes for you:");
  reply.messages.emplace();
  for (Note& note : call.caller.inbox) {
    note.message.ageSeconds =
        std::chrono::duration_cast<std::chrono::seconds>(call.thread.now() - note.left).count();
    reply.messages->push_back(note.message);
  }
  call.caller.inbox.clear();
  return reply;
}

}  // namespace methods

}  // namespace qv::sandbox
