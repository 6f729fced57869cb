#pragma once

// What a board can be asked. Every method takes a call and gives a reply; what it needs is
// checked before it is called.

#include "board/request.h"
#include "board/response.h"
#include "thread.h"

namespace qv::sandbox {

using Reply = TeamworkResponse;

struct Call {
  Thread& thread;
  Pane& caller;
  const TeamworkRequest& request;
  Ticket* ticket = nullptr;  // the one the request names, if it names one that exists
};

[[nodiscard]] inline Reply say(Reply::Kind kind, std::string message) {
  Reply reply;
  reply.kind = kind;
  reply.message = std::move(message);
  return reply;
}
[[nodiscard]] inline Reply written(std::string message) {
  return say(Reply::Kind::written, std::move(message));
}
[[nodiscard]] inline Reply refused(std::string sentence) {
  return say(Reply::Kind::gated, std::move(sentence));
}

namespace methods {

// board_seats.cpp
Reply take_seat(const Call& call);
Reply leave(const Call& call);
Reply heartbeat(const Call& call);
Reply list_agents(const Call& call);
Reply read_plan(const Call& call);
Reply set_goal(const Call& call);
Reply set_charter(const Call& call);
Reply propose_goal_complete(const Call& call);

// board_tasks.cpp
Reply add_task(const Call& call);
Reply list_tasks(const Call& call);
Reply read_task(const Call& call);
Reply claim_task(const Call& call);
Reply update_task(const Call& call);
Reply complete_task(const Call& call);
Reply reject_task(const Call& call);
Reply delete_task(const Call& call);
Reply release_task(const Call& call);

// board_peers.cpp
Reply watch_task(const Call& call);
Reply unwatch_task(const Call& call);
Reply request_release(const Call& call);
Reply request_review(const Call& call);
Reply verify_task(const Call& call);
Reply comment_task(const Call& call);
Reply assign_task(const Call& call);
Reply send_message(const Call& call);
Reply read_messages(const Call& call);

// board_helpers.cpp
Reply request_hands(const Call& call);
Reply stop_helper(const Call& call);
Reply suggest_helper(const Call& call);

// board_debates.cpp
Reply open_discussion(const Call& call);
Reply reply_discussion(const Call& call);
Reply resolve_discussion(const Call& call);

// board_person.cpp: what the app and the person do, asked for by qv-sandbox itself.
Reply open_pane(const Call& call);
Reply person_answers(const Call& call);
Reply person_completes_goal(const Call& call);
Reply person_reopens_goal(const Call& call);
Reply person_switches_squad(const Call& call);
Reply person_unlocks(const Call& call);
Reply person_reads_code(const Call& call);

}  // namespace methods

// board_views.cpp: what a reader is shown.
[[nodiscard]] TeamworkAgent agent_record(const Thread& thread, const Pane& pane,
                                         const Pane& reader);
[[nodiscard]] TeamworkTask task_record(Thread& thread, const Ticket& ticket, const Pane& reader);
[[nodiscard]] TeamworkDiscussion debate_record(const TeamworkDiscussion& debate,
                                               const Pane& reader);
[[nodiscard]] TeamworkObligations owed_by(Thread& thread, const Pane& reader);
[[nodiscard]] TeamworkSquadState squad_record(const Thread& thread);

// board_changes.cpp: what moved since the request's revision, as far as it concerns the
// caller.
[[nodiscard]] TeamworkChangeFeed change_feed(const Call& call);

// Aims a ticket at a seat, taking it off whoever it was aimed at or held by.
void aim(const Call& call, Ticket& ticket, const Pane& at);

}  // namespace qv::sandbox
