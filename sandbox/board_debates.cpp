// A debate goes in turns: whoever is addressed owes a reply, a reply makes the others owe one,
// and nobody speaks twice in a row.

#include <algorithm>

#include "base/text.h"
#include "board_methods.h"

namespace qv::sandbox::methods {

namespace {

constexpr std::int64_t kVolleysBeforeThePersonIsAsked = 6;

TeamworkDiscussion* debate_named(const Call& call) {
  for (TeamworkDiscussion& debate : call.thread.debates) {
    if (text::equal_ignoring_case(debate.id, call.request.discussionID.value_or("")))
      return &debate;
  }
  return nullptr;
}

Reply no_such_debate(const Call& call) {
  return refused("There is no debate " + call.request.discussionID.value_or("without an id") +
                 " here.");
}

std::vector<Wake> wake_all(const std::vector<std::string>& fingerprints,
                           const TeamworkWakeReason& reason) {
  std::vector<Wake> wakes;
  for (const std::string& fingerprint : fingerprints) wakes.push_back({fingerprint, reason});
  return wakes;
}

// Everybody in it but the caller.
std::vector<std::string> others(const TeamworkDiscussion& debate, const Pane& caller) {
  std::vector<std::string> parties = debate.addressedTo;
  parties.push_back(debate.openedBy);
  std::erase(parties, caller.fingerprint);
  return parties;
}

Reply shown(const TeamworkDiscussion& debate, const Call& call) {
  Reply reply;
  reply.kind = Reply::Kind::discussion;
  reply.discussion = debate_record(debate, call.caller);
  return reply;
}

}  // namespace

Reply open_discussion(const Call& call) {
  Thread& thread = call.thread;
  if (call.request.taskID && call.ticket == nullptr) {
    return refused("There is no task " + *call.request.taskID + " on this board.");
  }
  const std::string question(text::trimmed(call.request.body.value_or("")));
  if (question.empty()) return refused("A debate needs a question.");
  std::vector<std::string> addressed;
  for (const std::string& tag : call.request.tags.value_or(std::vector<std::string>())) {
    const Pane* peer = thread.seated(tag);
    if (peer == nullptr) return refused("Nobody here answers to " + tag + ".");
    addressed.push_back(peer->fingerprint);
  }
  if (addressed.empty()) {
    for (const Pane& pane : thread.panes) {
      if (pane.seat && &pane != &call.caller) addressed.push_back(pane.fingerprint);
    }
  }
  TeamworkDiscussion& debate = thread.debates.emplace_back();
  debate.id = "D-" + std::to_string(thread.debates.size());
  if (call.ticket != nullptr) debate.taskID = call.ticket->record.id;
  debate.question = question;
  debate.state = "open";
  debate.openedBy = call.caller.fingerprint;
  debate.addressedTo = addressed;
  debate.owingParties = addressed;
  const std::string summary = call.caller.handle + " opened " + debate.id + " with you.";
  thread.record(moves::kDebateOpened, call.caller.fingerprint, debate.taskID,
                wake_all(addressed, {"mentioned", debate.taskID, summary, question}));
  return shown(debate, call);
}

Reply reply_discussion(const Call& call) {
  TeamworkDiscussion* debate = debate_named(call);
  if (debate == nullptr) return no_such_debate(call);
  if (debate->state != "open") return refused(debate->id + " is resolved.");
  const std::string& self = call.caller.fingerprint;
  const bool spoke_last = debate->volleys.empty()
                              ? debate->openedBy == self
                              : debate->volleys.back().author == call.caller.handle;
  if (spoke_last) return refused("You spoke last in " + debate->id + ". It is not your turn.");

  const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
  debate->volleys.push_back(
      {call.caller.handle, call.request.body.value_or(""),
       std::chrono::duration_cast<std::chrono::milliseconds>(since_epoch).count()});
  ++debate->volleysSinceHuman;
  debate->escalated = debate->volleysSinceHuman >= kVolleysBeforeThePersonIsAsked;
  const bool newcomer = debate->openedBy != self &&
                        std::ranges::find(debate->addressedTo, self) == debate->addressedTo.end();
  if (newcomer) debate->addressedTo.push_back(self);
  debate->owingParties = others(*debate, call.caller);
  const std::string summary = call.caller.handle + " replied in " + debate->id + ".";
  call.thread.record(moves::kDebateReply, self, debate->taskID,
                     wake_all(debate->owingParties,
                              {"discussionReply", debate->taskID, summary, call.request.body}));
  return shown(*debate, call);
}

Reply resolve_discussion(const Call& call) {
  TeamworkDiscussion* debate = debate_named(call);
  if (debate == nullptr) return no_such_debate(call);
  if (debate->state != "open") return refused(debate->id + " is resolved already.");
  if (debate->openedBy != call.caller.fingerprint) {
    return refused(call.thread.handle_of(debate->openedBy) + " opened " + debate->id +
                   ", so it is theirs to close.");
  }
  debate->state = "resolved";
  debate->resolution = call.request.body;
  debate->resolvedBy = call.caller.handle;
  debate->owingParties.clear();
  const std::string summary = call.caller.handle + " resolved " + debate->id + ".";
  call.thread.record(moves::kDebateResolved, call.caller.fingerprint, debate->taskID,
                     wake_all(others(*debate, call.caller),
                              {"discussionReply", debate->taskID, summary, debate->resolution}));
  return shown(*debate, call);
}

}  // namespace qv::sandbox::methods
