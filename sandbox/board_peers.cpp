// What seats do to one another's attention: follow, review, comment, debate.

#include <algorithm>

#include "base/text.h"
#include "board.h"
#include "platform/clock.h"

namespace qv::sandbox {

namespace {

Reply unwatch_task(const Call& call) {
  std::erase_if(call.task->watchers, [&](const TeamworkTaskWatcher& watcher) {
    return watcher.fingerprint == call.caller.fingerprint;
  });
  return written("You no longer follow " + call.task->id + ".");
}

Reply watch_task(const Call& call) {
  static_cast<void>(unwatch_task(call));
  call.task->watchers.push_back({"agent", call.caller.fingerprint, call.caller.handle});
  return written("You follow " + call.task->id + ".");
}

Reply request_review(const Call& call) {
  Ticket& task = *call.task;
  const auto& role = call.request.reviewOfRole;
  const Pane* reviewer =
      role && call.peer == nullptr ? call.thread.seated_as(*role, &call.caller) : call.peer;
  if (reviewer == nullptr && role) {
    return refused("Nobody else here has the role " + *role +
                   ". `qv board agents` lists who is here.");
  }
  if (reviewer == nullptr || reviewer == &call.caller) {
    return refused("Name a peer who reviews it: --ofAgent or --ofRole.");
  }
  task.reviewState = "requested";
  task.reviewNote = call.request.note;
  task.reviewRequestedFromFingerprint = reviewer->fingerprint;
  call.task->review_asked_by = call.caller.fingerprint;
  call.record("reviewRequested",
              {{reviewer->fingerprint, {"reviewRequested", task.id, "", task.reviewNote}}});
  return written("Asked " + reviewer->handle + " to review " + task.id + ".");
}

Reply verify_task(const Call& call) {
  Ticket& task = *call.task;
  const bool asked = task.reviewRequestedFromFingerprint == call.caller.fingerprint;
  if (task.reviewState != "requested" || !asked) {
    return refused("No review of " + task.id + " is asked of you.");
  }
  const bool approved = call.request.approve == true;
  task.reviewState = approved ? "approved" : "changes requested";
  task.reviewByFingerprint = call.caller.fingerprint;
  task.reviewNote = call.request.note;
  const std::string verdict = call.caller.handle + (approved ? " approved it." : " sent it back.");
  task.log.push_back(verdict + " " + call.request.note.value_or(""));
  const std::string news = task.id + ": " + verdict;
  call.record("reviewVerdict",
              {{call.task->review_asked_by, {"reviewVerdict", task.id, news, call.request.note}}});
  return written("Verdict on " + task.id + ": " + *task.reviewState + ".");
}

Reply comment_task(const Call& call) {
  const TeamworkRequest& request = call.request;
  Ticket& task = *call.task;
  const bool says_nothing = !request.note && !request.summary;
  if (says_nothing || is_blank(request.note) || is_blank(request.summary)) {
    return refused("The comment is empty. Nothing was changed.");
  }
  std::vector<std::string>& log = task.log;
  std::string latest;
  std::vector<Wake> wakes;
  task.mentions.erase(call.caller.fingerprint);
  for (const std::string& who : call.tagged()) {
    wakes.push_back({who, {"mentioned", task.id, "", request.note}});
    task.mentions.insert(who);
  }
  if (request.note) {
    const std::string mark = call.caller.handle + " commented: ";
    const auto last = std::find_if(log.rbegin(), log.rend(),
                                   [&](const auto& line) { return line.starts_with(mark); });
    const bool amends = request.editLast == true && last != log.rend();
    (amends ? *last : log.emplace_back()) = latest = mark + *request.note;
  }
  if (request.summary) log.push_back(latest = "summary: " + *request.summary);
  call.record("taskCommented", wakes, "New on " + task.id + ": " + latest);
  return written("Commented on " + task.id + ".");
}

// The open debate that the request names; null when there is none.
TeamworkDiscussion* debate_of(const Call& call) {
  for (TeamworkDiscussion& debate : call.thread.debates) {
    const bool named = text::equal_ignoring_case(debate.id, call.request.discussionID.value_or(""));
    if (named && debate.state == "open") return &debate;
  }
  return nullptr;
}

// Writes the deed down, wakes everybody in the debate but the caller, and shows it.
Reply moved(const TeamworkDiscussion& debate, const Call& call, const std::string& kind,
            const std::string& deed) {
  const TeamworkWakeReason reason{kind == "discussionOpened" ? "mentioned" : "discussionReply",
                                  debate.taskID, call.caller.handle + deed + debate.id + ".",
                                  call.request.body};
  std::vector<Wake> wakes{{debate.openedBy, reason}};
  for (const std::string& who : debate.addressedTo) wakes.push_back({who, reason});
  call.thread.record(kind, call.caller.fingerprint, debate.taskID, wakes);
  return {.kind = Kind::discussion, .discussion = debate_record(debate, call.caller)};
}

Reply open_discussion(const Call& call) {
  Thread& thread = call.thread;
  const std::string wrong = call.request.taskID ? unmet(Needs::task, call) : "";
  if (!wrong.empty()) return refused(wrong);
  TeamworkDiscussion debate;
  debate.addressedTo = call.tagged();
  for (const Pane& pane : thread.panes) {
    const bool addressed = !call.request.tags && pane.seat && &pane != &call.caller;
    if (addressed) debate.addressedTo.push_back(pane.fingerprint);
  }
  debate.id = "D-" + std::to_string(thread.debates.size() + 1);
  if (call.task != nullptr) debate.taskID = call.task->id;
  debate.question = call.request.body.value_or("");
  debate.state = "open";
  debate.openedBy = call.caller.fingerprint;
  debate.owingParties = debate.addressedTo;
  thread.debates.push_back(debate);
  return moved(debate, call, "discussionOpened", " asks you in ");
}

// It goes in turns: whoever is addressed owes a reply, a reply makes the others owe one, and
// nobody speaks twice in a row.
Reply reply_discussion(const Call& call) {
  const std::string& self = call.caller.fingerprint;
  TeamworkDiscussion* debate = debate_of(call);
  if (debate == nullptr) return refused("There is no such open debate here.");
  const bool spoke_last = debate->volleys.empty()
                              ? debate->openedBy == self
                              : debate->volleys.back().author == call.caller.handle;
  if (spoke_last) return refused("You spoke last in " + debate->id + ". It is not your turn.");
  const auto now = static_cast<std::int64_t>(platform::wall_clock_seconds() * 1000);
  debate->volleys.push_back({call.caller.handle, call.request.body.value_or(""), now});
  ++debate->volleysSinceHuman;
  const bool newcomer = debate->openedBy != self && !contains(debate->addressedTo, self);
  if (newcomer) debate->addressedTo.push_back(self);
  debate->owingParties = debate->addressedTo;
  debate->owingParties.push_back(debate->openedBy);
  std::erase(debate->owingParties, self);
  return moved(*debate, call, "discussionReply", " replied in ");
}

Reply resolve_discussion(const Call& call) {
  TeamworkDiscussion* debate = debate_of(call);
  if (debate == nullptr) return refused("There is no such open debate here.");
  if (debate->openedBy != call.caller.fingerprint) {
    return refused(call.thread.handle_of(debate->openedBy) + " opened it and has to close it.");
  }
  debate->state = "resolved";
  debate->resolution = call.request.body;
  debate->resolvedBy = call.caller.handle;
  debate->owingParties.clear();
  return moved(*debate, call, "discussionResolved", " resolved ");
}

constexpr Method kMethods[] = {
    {"watch_task", Needs::task, watch_task},
    {"unwatch_task", Needs::task, unwatch_task},
    {"request_review", Needs::own_task, request_review},
    {"verify_task", Needs::task, verify_task},
    {"comment_task", Needs::task, comment_task},
    {"open_discussion", Needs::peers, open_discussion},
    {"reply_discussion", Needs::seat, reply_discussion},
    {"resolve_discussion", Needs::seat, resolve_discussion},
};

}  // namespace

std::span<const Method> peer_methods() { return kMethods; }

}  // namespace qv::sandbox
