#pragma once

// What a board can be asked. Every method takes a call and gives a reply; what it needs is
// checked before it is called.

#include <span>

#include "app.h"
#include "base/text.h"
#include "board/request.h"

namespace qv::sandbox {

using Reply = TeamworkResponse;
using Kind = TeamworkResponse::Kind;

struct Call {
  App& app;
  Thread& thread;
  Pane& caller;
  const TeamworkRequest& request;
  Ticket* task = nullptr;  // the one the request names; null when there is none
  Pane* peer = nullptr;    // the seat it names, the same

  // Writes a move of the caller's down, about this task if there is one. With `news` it also
  // wakes those who follow the task and whoever holds it.
  void record(const std::string& kind, std::vector<Wake> wakes = {},
              const std::string& news = "") const;
  // The fingerprints of the seats that the request tags.
  [[nodiscard]] std::vector<std::string> tagged() const;
};

// Each asks for those before it, too. With `peers` whoever is named has to be here. An open
// task is not finished, and not held by others.
enum class Needs { nothing, pane, seat, peers, task, open_task, own_task };

struct Method {
  std::string_view name;
  Needs needs;
  Reply (*answer)(const Call&);
};

[[nodiscard]] std::span<const Method> task_methods();    // board_tasks.cpp
[[nodiscard]] std::span<const Method> peer_methods();    // board_peers.cpp
[[nodiscard]] std::span<const Method> squad_methods();   // board_squad.cpp
[[nodiscard]] std::span<const Method> person_methods();  // board_person.cpp

// Why the call cannot be answered; empty when it can.
[[nodiscard]] std::string unmet(Needs needs, const Call& call);

// board_tasks.cpp: files a ticket with what the request says of one, and hands a ticket to a
// terminal, taking it off whoever it was handed to or held by.
[[nodiscard]] Ticket& file_task(const Call& call);
void aim(const Call& call, Ticket& task, const Pane& at);

// board_squad.cpp: why nobody can be addressed in this Thread; empty when one can.
[[nodiscard]] std::string squad_is_off(const Thread& thread);

// There, with nothing in it.
[[nodiscard]] inline bool is_blank(const std::optional<std::string>& given) {
  return given && text::trimmed(*given).empty();
}

[[nodiscard]] inline Reply written(const std::string& message) {
  return {.kind = Kind::written, .message = message};
}
[[nodiscard]] inline Reply refused(const std::string& sentence) {
  return {.kind = Kind::gated, .message = sentence};
}

// board_views.cpp: what a reader is shown, and what moved for the caller since the request's
// revision.
[[nodiscard]] TeamworkAgent agent_record(const Thread& thread, const Pane& pane,
                                         const Pane& reader);
[[nodiscard]] TeamworkTask task_record(Thread& thread, const Ticket& ticket, const Pane& reader);
// What an agent that has read the plan does next.
[[nodiscard]] std::string next_step(const Call& call);
[[nodiscard]] TeamworkDiscussion debate_record(TeamworkDiscussion debate, const Pane& reader);
[[nodiscard]] TeamworkObligations owed_by(const Thread& thread, const Pane& reader);
[[nodiscard]] TeamworkChangeFeed change_feed(const Call& call);

}  // namespace qv::sandbox
