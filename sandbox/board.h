#pragma once

// What a board can be asked. Every method takes a call and gives a reply; what it needs is
// checked before it is called.

#include <span>

#include "base/text.h"
#include "board/request.h"
#include "thread.h"

namespace qv::sandbox {

using Reply = TeamworkResponse;
using Kind = TeamworkResponse::Kind;

struct Call {
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

// Each asks for those before it, too. An open task is not finished, and not held by others.
enum class Needs { nothing, pane, seat, task, open_task, own_task };

struct Method {
  std::string_view name;
  Needs needs;
  Reply (*answer)(const Call&);
};

[[nodiscard]] std::span<const Method> task_methods();  // board_tasks.cpp
[[nodiscard]] std::span<const Method> peer_methods();  // board_peers.cpp

// Why the call cannot be answered; empty when it can.
[[nodiscard]] std::string unmet(Needs needs, const Call& call);

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
[[nodiscard]] TeamworkDiscussion debate_record(TeamworkDiscussion debate, const Pane& reader);
[[nodiscard]] TeamworkObligations owed_by(const Thread& thread, const Pane& reader);
[[nodiscard]] TeamworkChangeFeed change_feed(const Call& call);

}  // namespace qv::sandbox
