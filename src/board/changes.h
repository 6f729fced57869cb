#pragma once

// What moved on the board, why the reader was woken, and what it owes.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/record.h"
#include "board/task.h"

namespace qv {

struct TeamworkChange {
  std::string kind;
  std::optional<std::string> taskID;
};

template <>
struct record::Schema<TeamworkChange> {
  static constexpr auto fields = std::tuple{
      required("kind", &TeamworkChange::kind),
      optional("taskID", &TeamworkChange::taskID),
  };
};

struct TeamworkWakeReason {
  std::string kind;
  std::optional<std::string> taskID;
  std::string summary;
  std::optional<std::string> cause;
};

template <>
struct record::Schema<TeamworkWakeReason> {
  static constexpr auto fields = std::tuple{
      required("kind", &TeamworkWakeReason::kind),
      optional("taskID", &TeamworkWakeReason::taskID),
      defaulted("summary", &TeamworkWakeReason::summary),
      optional("cause", &TeamworkWakeReason::cause),
  };
};

// A note left by a peer.
struct TeamworkSquadMessage {
  std::string id;
  std::string from;
  std::string fromName;
  std::string text;
  std::int64_t ageSeconds = 0;
};

template <>
struct record::Schema<TeamworkSquadMessage> {
  static constexpr auto fields = std::tuple{
      required("id", &TeamworkSquadMessage::id),
      required("from", &TeamworkSquadMessage::from),
      defaulted("fromName", &TeamworkSquadMessage::fromName),
      required("text", &TeamworkSquadMessage::text),
      defaulted("ageSeconds", &TeamworkSquadMessage::ageSeconds),
  };
};

// The answer to "what moved since this revision?".
struct TeamworkChangeFeed {
  std::int64_t rev = 0;
  bool changed = false;
  std::string goal;
  bool goalComplete = false;
  bool pendingGoalComplete = false;
  std::vector<std::string> changeKinds;
  TaskList tasks;
  std::vector<TeamworkChange> changes;
  std::vector<TeamworkWakeReason> wakeReasons;
  std::vector<TeamworkSquadMessage> messages;
};

template <>
struct record::Schema<TeamworkChangeFeed> {
  static constexpr auto fields = std::tuple{
      required("rev", &TeamworkChangeFeed::rev),
      required("changed", &TeamworkChangeFeed::changed),
      required("goal", &TeamworkChangeFeed::goal),
      required("goalComplete", &TeamworkChangeFeed::goalComplete),
      required("pendingGoalComplete", &TeamworkChangeFeed::pendingGoalComplete),
      required("changeKinds", &TeamworkChangeFeed::changeKinds),
      required("tasks", &TeamworkChangeFeed::tasks),
      defaulted("changes", &TeamworkChangeFeed::changes),
      defaulted("wakeReasons", &TeamworkChangeFeed::wakeReasons),
      defaulted("messages", &TeamworkChangeFeed::messages),
  };
};

struct DebateRef {
  std::string discussionID;
  std::optional<std::string> taskID;
  std::string question;
  std::string counterpart;
};

template <>
struct record::Schema<DebateRef> {
  static constexpr auto fields = std::tuple{
      required("discussionID", &DebateRef::discussionID),
      optional("taskID", &DebateRef::taskID),
      required("question", &DebateRef::question),
      required("counterpart", &DebateRef::counterpart),
  };
};

struct HeldRef {
  std::string taskID;
  std::int64_t summaryBehindBy = 0;
  bool wroteNothingSinceClaim = false;
};

template <>
struct record::Schema<HeldRef> {
  static constexpr auto fields = std::tuple{
      required("taskID", &HeldRef::taskID),
      required("summaryBehindBy", &HeldRef::summaryBehindBy),
      required("wroteNothingSinceClaim", &HeldRef::wroteNothingSinceClaim),
  };
};

struct ReleaseAskRef {
  std::string taskID;
  std::string requester;
  std::string reason;
};

template <>
struct record::Schema<ReleaseAskRef> {
  static constexpr auto fields = std::tuple{
      required("taskID", &ReleaseAskRef::taskID),
      required("requester", &ReleaseAskRef::requester),
      required("reason", &ReleaseAskRef::reason),
  };
};

struct UndeliveredRef {
  std::string verb;
  std::optional<std::string> taskID;
  std::string reason;
  bool refused = false;
};

template <>
struct record::Schema<UndeliveredRef> {
  static constexpr auto fields = std::tuple{
      required("verb", &UndeliveredRef::verb),
      optional("taskID", &UndeliveredRef::taskID),
      required("reason", &UndeliveredRef::reason),
      required("refused", &UndeliveredRef::refused),
  };
};

// What the caller owes.
struct TeamworkObligations {
  std::vector<DebateRef> oweReply;
  std::vector<DebateRef> awaitingReply;
  std::vector<std::string> yourBlockersOpen;
  std::vector<std::string> mentionsToAnswer;
  std::vector<std::string> tasksHeld;
  std::vector<HeldRef> staleSummaries;
  std::vector<HeldRef> idleHeld;
  std::vector<ReleaseAskRef> releaseAsks;
  std::vector<UndeliveredRef> undelivered;
  bool clear = false;
};

template <>
struct record::Schema<TeamworkObligations> {
  static constexpr auto fields = std::tuple{
      defaulted("oweReply", &TeamworkObligations::oweReply),
      defaulted("awaitingReply", &TeamworkObligations::awaitingReply),
      defaulted("yourBlockersOpen", &TeamworkObligations::yourBlockersOpen),
      defaulted("mentionsToAnswer", &TeamworkObligations::mentionsToAnswer),
      defaulted("tasksHeld", &TeamworkObligations::tasksHeld),
      defaulted("staleSummaries", &TeamworkObligations::staleSummaries),
      defaulted("idleHeld", &TeamworkObligations::idleHeld),
      defaulted("releaseAsks", &TeamworkObligations::releaseAsks),
      defaulted("undelivered", &TeamworkObligations::undelivered),
      defaulted("clear", &TeamworkObligations::clear),
  };
};

}  // namespace qv
