#pragma once

// Tickets and the debates about them, as the board sends them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/record.h"

namespace qv {

// One turn of a debate.
struct Volley {
  std::string author;
  std::string body;
  std::int64_t atMs = 0;  // milliseconds since 1970
};

template <>
struct record::Schema<Volley> {
  static constexpr auto fields = std::tuple{
      required("author", &Volley::author),
      required("body", &Volley::body),
      required("atMs", &Volley::atMs),
  };
};

// A debate.
struct TeamworkDiscussion {
  std::string id;
  std::optional<std::string> taskID;
  std::string question;
  std::string state;
  std::string openedBy;
  std::vector<std::string> addressedTo;
  std::vector<Volley> volleys;
  std::optional<std::string> resolution;
  std::optional<std::string> resolvedBy;
  std::vector<std::string> owingParties;
  std::int64_t volleysSinceHuman = 0;
  bool escalated = false;
  bool yourTurn = false;
};

template <>
struct record::Schema<TeamworkDiscussion> {
  static constexpr auto fields = std::tuple{
      required("id", &TeamworkDiscussion::id),
      optional("taskID", &TeamworkDiscussion::taskID),
      required("question", &TeamworkDiscussion::question),
      required("state", &TeamworkDiscussion::state),
      required("openedBy", &TeamworkDiscussion::openedBy),
      required("addressedTo", &TeamworkDiscussion::addressedTo),
      required("volleys", &TeamworkDiscussion::volleys),
      optional("resolution", &TeamworkDiscussion::resolution),
      optional("resolvedBy", &TeamworkDiscussion::resolvedBy),
      required("owingParties", &TeamworkDiscussion::owingParties),
      required("volleysSinceHuman", &TeamworkDiscussion::volleysSinceHuman),
      required("escalated", &TeamworkDiscussion::escalated),
      defaulted("yourTurn", &TeamworkDiscussion::yourTurn),
  };
};

// Who follows a ticket.
struct TeamworkTaskWatcher {
  std::string kind;
  std::optional<std::string> fingerprint;
  std::optional<std::string> name;
  bool automatic = false;  // "auto" on the wire
};

template <>
struct record::Schema<TeamworkTaskWatcher> {
  static constexpr auto fields = std::tuple{
      required("kind", &TeamworkTaskWatcher::kind),
      optional("fingerprint", &TeamworkTaskWatcher::fingerprint),
      optional("name", &TeamworkTaskWatcher::name),
      required("auto", &TeamworkTaskWatcher::automatic),
  };
};

// What a list of tickets is made of: the few members that its rows and their order need.
template <class Text>
struct TaskRowOf {
  Text id;
  Text title;
  Text state;
  std::optional<Text> ownerFingerprint;
  bool blocked = false;
  std::optional<Text> routedToFingerprint;
  bool routedToLive = false;
  std::vector<Text> waitsOn;
  bool ready = false;
};

// Its texts are those of the ticket or the reply that it was made of.
using TaskRow = TaskRowOf<std::string_view>;

template <>
struct record::Schema<TaskRow> {
  static constexpr auto fields = std::tuple{
      required("id", &TaskRow::id),
      required("title", &TaskRow::title),
      required("state", &TaskRow::state),
      optional("ownerFingerprint", &TaskRow::ownerFingerprint),
      defaulted("blocked", &TaskRow::blocked),
      optional("routedToFingerprint", &TaskRow::routedToFingerprint),
      defaulted("routedToLive", &TaskRow::routedToLive),
      defaulted("waitsOn", &TaskRow::waitsOn),
      defaulted("ready", &TaskRow::ready),
  };
};

// One ticket.
struct TeamworkTask : TaskRowOf<std::string> {
  std::string body;
  std::optional<std::int64_t> claimLeaseSecondsRemaining;
  std::vector<std::string> log;
  std::optional<std::string> blockerQuestion;
  std::optional<std::string> blockerAnswer;
  bool blockerEscalated = false;
  std::int64_t priority = 0;
  std::optional<std::string> type;
  bool thrashing = false;
  std::int64_t claimAttempts = 0;
  std::vector<std::string> resources;
  std::optional<std::string> reviewState;
  std::optional<std::string> reviewRequestedFromFingerprint;
  std::optional<std::string> reviewNote;
  std::optional<std::string> reviewByFingerprint;
  std::optional<std::string> parkedReason;
  std::optional<std::string> assignedRole;
  std::optional<std::string> reportsToHandle;
  std::optional<std::vector<std::string>> unresolvedWaitsOn;
  std::optional<std::string> pendingReleaseReason;
  bool mentionsYou = false;
  std::int64_t openDiscussions = 0;
  std::int64_t escalatedDiscussions = 0;
  std::vector<TeamworkDiscussion> discussions;
  bool pendingDelete = false;
  std::optional<std::string> pendingDeleteReason;
  std::vector<TeamworkTaskWatcher> watchers;

  operator TaskRow() const {  // NOLINT: a ticket stands for its row
    return {id,           title,
            state,        ownerFingerprint,
            blocked,      routedToFingerprint,
            routedToLive, {waitsOn.begin(), waitsOn.end()},
            ready};
  }
};

template <>
struct record::Schema<TeamworkTask> {
  static constexpr auto fields = std::tuple{
      required("id", &TeamworkTask::id),
      required("title", &TeamworkTask::title),
      required("body", &TeamworkTask::body),
      required("state", &TeamworkTask::state),
      optional("ownerFingerprint", &TeamworkTask::ownerFingerprint),
      optional("claimLeaseSecondsRemaining", &TeamworkTask::claimLeaseSecondsRemaining),
      required("log", &TeamworkTask::log),
      defaulted("blocked", &TeamworkTask::blocked),
      optional("blockerQuestion", &TeamworkTask::blockerQuestion),
      optional("blockerAnswer", &TeamworkTask::blockerAnswer),
      defaulted("blockerEscalated", &TeamworkTask::blockerEscalated),
      defaulted("priority", &TeamworkTask::priority),
      optional("type", &TeamworkTask::type),
      defaulted("thrashing", &TeamworkTask::thrashing),
      defaulted("claimAttempts", &TeamworkTask::claimAttempts),
      required("resources", &TeamworkTask::resources),
      optional("reviewState", &TeamworkTask::reviewState),
      optional("reviewRequestedFromFingerprint", &TeamworkTask::reviewRequestedFromFingerprint),
      optional("reviewNote", &TeamworkTask::reviewNote),
      optional("reviewByFingerprint", &TeamworkTask::reviewByFingerprint),
      optional("parkedReason", &TeamworkTask::parkedReason),
      optional("assignedRole", &TeamworkTask::assignedRole),
      optional("routedToFingerprint", &TeamworkTask::routedToFingerprint),
      defaulted("routedToLive", &TeamworkTask::routedToLive),
      optional("reportsToHandle", &TeamworkTask::reportsToHandle),
      defaulted("waitsOn", &TeamworkTask::waitsOn),
      defaulted("ready", &TeamworkTask::ready),
      optional("unresolvedWaitsOn", &TeamworkTask::unresolvedWaitsOn),
      optional("pendingReleaseReason", &TeamworkTask::pendingReleaseReason),
      defaulted("mentionsYou", &TeamworkTask::mentionsYou),
      defaulted("openDiscussions", &TeamworkTask::openDiscussions),
      defaulted("escalatedDiscussions", &TeamworkTask::escalatedDiscussions),
      defaulted("discussions", &TeamworkTask::discussions),
      defaulted("pendingDelete", &TeamworkTask::pendingDelete),
      optional("pendingDeleteReason", &TeamworkTask::pendingDeleteReason),
      defaulted("watchers", &TeamworkTask::watchers),
  };
};

// A backlog may be as long as the largest reply.
using TaskList = record::List<TeamworkTask>;

}  // namespace qv
