#pragma once

// The one reply every board request gets.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/record.h"
#include "board/changes.h"
#include "board/squad.h"
#include "board/task.h"

namespace qv {

// The Thread's goal and charter.
struct TeamworkPlan {
  std::string threadName;
  std::string goal;
  std::string charter;
  bool goalLocked = false;
  bool dispatched = false;
  bool shared = false;
  std::int64_t otherLocalAgents = 0;
  std::int64_t otherDevices = 0;
  bool goalComplete = false;
  bool pendingGoalComplete = false;
  std::vector<TeamworkDiscussion> discussions;
};

template <>
struct record::Schema<TeamworkPlan> {
  static constexpr auto fields = std::tuple{
      required("threadName", &TeamworkPlan::threadName),
      required("goal", &TeamworkPlan::goal),
      defaulted("charter", &TeamworkPlan::charter),
      required("goalLocked", &TeamworkPlan::goalLocked),
      required("dispatched", &TeamworkPlan::dispatched),
      defaulted("shared", &TeamworkPlan::shared),
      defaulted("otherLocalAgents", &TeamworkPlan::otherLocalAgents),
      defaulted("otherDevices", &TeamworkPlan::otherDevices),
      defaulted("goalComplete", &TeamworkPlan::goalComplete),
      defaulted("pendingGoalComplete", &TeamworkPlan::pendingGoalComplete),
      defaulted("discussions", &TeamworkPlan::discussions),
  };
};

// Who else can see this board.
struct TeamworkAudience {
  bool shared = false;
  std::int64_t otherDevices = 0;
  std::int64_t otherPeople = 0;
  std::int64_t otherLocalAgents = 0;
};

template <>
struct record::Schema<TeamworkAudience> {
  static constexpr auto fields = std::tuple{
      required("shared", &TeamworkAudience::shared),
      required("otherDevices", &TeamworkAudience::otherDevices),
      required("otherPeople", &TeamworkAudience::otherPeople),
      required("otherLocalAgents", &TeamworkAudience::otherLocalAgents),
  };
};

struct TeamworkResponse {
  enum class Kind {
    registered,
    agents,
    tasks,
    task,
    plan,
    changes,
    discussion,
    wake,
    written,
    gated,
    empty,
    error
  };

  Kind kind = Kind::empty;
  std::optional<TeamworkAgent> agent;
  std::optional<std::vector<TeamworkAgent>> agents;
  std::optional<TaskList> tasks;
  std::optional<TeamworkTask> task;
  std::optional<TeamworkPlan> plan;
  std::optional<std::string> message;
  std::optional<std::string> subscribeURL;
  std::optional<TeamworkChangeFeed> changes;
  std::optional<TeamworkDiscussion> discussion;
  std::optional<TeamworkObligations> obligations;
  std::optional<TeamworkAudience> audience;
  std::optional<std::int64_t> rev;
  std::optional<std::string> threadTag;
  std::optional<bool> wakePending;
  std::optional<std::string> notice;
  std::optional<std::vector<TeamworkSquadMessage>> messages;
  std::optional<TeamworkSquadState> squad;
  std::optional<std::vector<TeamworkPane>> panes;
  std::optional<std::vector<TeamworkMac>> macs;
  std::optional<std::vector<TeamworkHelperRun>> runningHelpers;
};

template <>
struct record::Words<TeamworkResponse::Kind> {
  static constexpr std::array<std::string_view, 12> words = {
      "registered", "agents", "tasks",   "task",  "plan",  "changes",
      "discussion", "wake",   "written", "gated", "empty", "error"};
};

template <>
struct record::Schema<TeamworkResponse> {
  static constexpr auto fields = std::tuple{
      required("kind", &TeamworkResponse::kind),
      optional("agent", &TeamworkResponse::agent),
      optional("agents", &TeamworkResponse::agents),
      optional("tasks", &TeamworkResponse::tasks),
      optional("task", &TeamworkResponse::task),
      optional("plan", &TeamworkResponse::plan),
      optional("message", &TeamworkResponse::message),
      optional("subscribeURL", &TeamworkResponse::subscribeURL),
      optional("changes", &TeamworkResponse::changes),
      optional("discussion", &TeamworkResponse::discussion),
      optional("obligations", &TeamworkResponse::obligations),
      optional("audience", &TeamworkResponse::audience),
      optional("rev", &TeamworkResponse::rev),
      optional("threadTag", &TeamworkResponse::threadTag),
      optional("wakePending", &TeamworkResponse::wakePending),
      optional("notice", &TeamworkResponse::notice),
      optional("messages", &TeamworkResponse::messages),
      optional("squad", &TeamworkResponse::squad),
      optional("panes", &TeamworkResponse::panes),
      optional("macs", &TeamworkResponse::macs),
      optional("runningHelpers", &TeamworkResponse::runningHelpers),
  };
};

// Compiled once, in response.cpp: a file that reads replies would take longer over these than over
// all that it is about.
extern template bool record::decode(json::Value value, TeamworkResponse& out);
extern template bool record::decode(json::Value value, TeamworkTask& out);
extern template std::optional<TeamworkResponse> record::from_text(std::string_view text);
extern template std::string record::to_text(const TeamworkResponse& in, json::Slashes slashes);

}  // namespace qv
