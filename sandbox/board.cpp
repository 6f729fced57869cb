#include "board.h"

#include <algorithm>
#include <utility>

#include "board_methods.h"

namespace qv::sandbox {

namespace {

using Kind = Reply::Kind;

constexpr std::int64_t kLongestHold = 30'000;  // milliseconds; a client reads for 40 seconds

// What must be so before a method is called at all.
enum class Needs { nothing, pane, seat, seat_and_task };

struct Method {
  std::string_view name;
  Needs needs;
  Reply (*answer)(const Call&);
};

constexpr Method kMethods[] = {
    {"register", Needs::pane, methods::take_seat},
    {"unregister", Needs::seat, methods::leave},
    {"heartbeat", Needs::seat, methods::heartbeat},
    {"list_agents", Needs::pane, methods::list_agents},
    {"read_plan", Needs::pane, methods::read_plan},
    {"set_goal", Needs::seat, methods::set_goal},
    {"set_charter", Needs::seat, methods::set_charter},
    {"propose_goal_complete", Needs::seat, methods::propose_goal_complete},
    {"add_task", Needs::seat, methods::add_task},
    {"list_tasks", Needs::pane, methods::list_tasks},
    {"read_task", Needs::seat, methods::read_task},
    {"claim_task", Needs::seat_and_task, methods::claim_task},
    {"update_task", Needs::seat, methods::update_task},
    {"complete_task", Needs::seat_and_task, methods::complete_task},
    {"reject_task", Needs::seat_and_task, methods::reject_task},
    {"delete_task", Needs::seat_and_task, methods::delete_task},
    {"release_task", Needs::seat_and_task, methods::release_task},
    {"watch_task", Needs::seat_and_task, methods::watch_task},
    {"unwatch_task", Needs::seat_and_task, methods::unwatch_task},
    {"request_release", Needs::seat_and_task, methods::request_release},
    {"request_review", Needs::seat_and_task, methods::request_review},
    {"verify_task", Needs::seat_and_task, methods::verify_task},
    {"comment_task", Needs::seat_and_task, methods::comment_task},
    {"assign_task", Needs::seat_and_task, methods::assign_task},
    {"send_message", Needs::seat, methods::send_message},
    {"read_messages", Needs::seat, methods::read_messages},
    {"request_hands", Needs::seat, methods::request_hands},
    {"stop_helper", Needs::seat, methods::stop_helper},
    {"suggest_helper", Needs::seat, methods::suggest_helper},
    {"open_discussion", Needs::seat, methods::open_discussion},
    {"reply_discussion", Needs::seat, methods::reply_discussion},
    {"resolve_discussion", Needs::seat, methods::resolve_discussion},
    {"sandbox_open_pane", Needs::nothing, methods::open_pane},
    {"sandbox_answer", Needs::nothing, methods::person_answers},
    {"sandbox_confirm", Needs::nothing, methods::person_completes_goal},
    {"sandbox_reopen", Needs::nothing, methods::person_reopens_goal},
    {"sandbox_squad", Needs::nothing, methods::person_switches_squad},
    {"sandbox_unlock", Needs::nothing, methods::person_unlocks},
    {"sandbox_code", Needs::nothing, methods::person_reads_code},
};

Pane& nobody() {
  static Pane pane;
  return pane;
}

// What the caller did keeps its lease.
void renew(const Call& call) {
  if (!call.caller.seat) return;
  Seat& seat = *call.caller.seat;
  seat.lease_until = call.thread.now() + call.thread.lease();
  seat.warned = false;
  const bool by_itself =
      call.request.method == "poll_changes" || call.request.waiting.value_or(false);
  if (!by_itself) seat.last_command = call.thread.now();
}

Reply called(const Method& method, const Call& call) {
  const bool needs_seat = method.needs == Needs::seat || method.needs == Needs::seat_and_task;
  if (needs_seat && !call.caller.seat) {
    return refused(
        "You have no seat on this board, so you can see ticket titles and nothing else. Run `qv "
        "board register` first.");
  }
  if (method.needs == Needs::seat_and_task && call.ticket == nullptr) {
    return refused("There is no task " + call.request.taskID.value_or("without an id") +
                   " on this board. `qv task list` shows what there is.");
  }
  renew(call);
  return method.answer(call);
}

std::string finished(Reply reply, const Call& call) {
  reply.threadTag = Thread::kTag;
  reply.rev = call.thread.rev();
  if (call.caller.seat) reply.obligations = owed_by(call.thread, call.caller);
  return record::to_text(reply);
}

}  // namespace

Answer Board::answer(const std::string& text, Clock::time_point received) {
  thread_.advance(Clock::now());
  const auto request = record::from_text<TeamworkRequest>(text);
  if (!request) return record::to_text(say(Kind::error, "That is not a request a board can read."));
  if (request->token != token_) return record::to_text(refused("The token is not this board's."));

  Pane* caller = thread_.pane_of(request->sessionID);
  const Call call{thread_, caller == nullptr ? nobody() : *caller, *request,
                  request->taskID ? thread_.ticket(*request->taskID) : nullptr};
  const auto* method = std::ranges::find(kMethods, request->method, &Method::name);
  const bool is_poll = request->method == "poll_changes";
  if (!is_poll && method == std::end(kMethods)) {
    return record::to_text(say(Kind::error, "This board knows no method " + request->method + "."));
  }
  if (caller == nullptr && (is_poll || method->needs != Needs::nothing)) {
    return record::to_text(refused("caller is not attributable to a live pane"));
  }
  if (!is_poll) return finished(called(*method, call), call);

  renew(call);
  Reply reply;
  reply.kind = Kind::changes;
  reply.changes = change_feed(call);
  const auto hold = std::clamp<std::int64_t>(request->holdMs.value_or(0), 0, kLongestHold);
  const auto until = received + std::chrono::milliseconds(hold);
  const bool moved = reply.changes->changed || reply.changes->goalComplete;
  if (!moved && Clock::now() < until) return Hold{until};
  return finished(std::move(reply), call);
}

}  // namespace qv::sandbox
