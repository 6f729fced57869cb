#pragma once

// What a board command sends.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/record.h"

namespace qv {

// One request to the board. The envelope is always there, the rest is what a verb fills.
struct TeamworkRequest {
  std::int64_t protocolVersion = 1;
  std::string token;
  std::string sessionID;
  std::string method;
  std::optional<std::string> name;
  std::optional<std::string> role;
  std::optional<bool> approve;
  std::optional<std::string> reviewOfFingerprint;
  std::optional<std::string> reviewOfRole;
  std::optional<std::int64_t> priority;
  std::optional<std::string> taskType;
  std::optional<std::vector<std::string>> resources;
  std::optional<std::string> assignedRole;
  std::optional<std::string> routedToFingerprint;
  std::optional<std::string> to;
  std::optional<std::string> agent;
  std::optional<std::string> command;
  std::optional<std::string> explanation;
  std::optional<std::string> status;
  std::optional<std::string> taskID;
  std::optional<std::string> title;
  std::optional<std::string> body;
  std::optional<std::string> note;
  std::optional<bool> blocked;
  std::optional<std::string> blockerQuestion;
  std::optional<std::string> parkReason;
  std::optional<std::string> summary;
  std::optional<std::vector<std::string>> waitsOn;
  std::optional<std::vector<std::string>> taskIDs;
  std::optional<std::int64_t> sinceRev;
  std::optional<std::int64_t> holdMs;
  std::optional<bool> wakeOnStateChanges;
  std::optional<std::string> releaseReason;
  std::optional<bool> waiting;
  std::optional<bool> standDown;
  std::optional<std::vector<std::string>> tags;
  std::optional<bool> editLast;
  std::optional<bool> acknowledgeOpenTasks;
  std::optional<std::string> discussionID;
};

template <>
struct record::Schema<TeamworkRequest> {
  static constexpr auto fields = std::tuple{
      required("protocolVersion", &TeamworkRequest::protocolVersion),
      required("token", &TeamworkRequest::token),
      required("sessionID", &TeamworkRequest::sessionID),
      required("method", &TeamworkRequest::method),
      optional("name", &TeamworkRequest::name),
      optional("role", &TeamworkRequest::role),
      optional("approve", &TeamworkRequest::approve),
      optional("reviewOfFingerprint", &TeamworkRequest::reviewOfFingerprint),
      optional("reviewOfRole", &TeamworkRequest::reviewOfRole),
      optional("priority", &TeamworkRequest::priority),
      optional("taskType", &TeamworkRequest::taskType),
      optional("resources", &TeamworkRequest::resources),
      optional("assignedRole", &TeamworkRequest::assignedRole),
      optional("routedToFingerprint", &TeamworkRequest::routedToFingerprint),
      optional("to", &TeamworkRequest::to),
      optional("agent", &TeamworkRequest::agent),
      optional("command", &TeamworkRequest::command),
      optional("explanation", &TeamworkRequest::explanation),
      optional("status", &TeamworkRequest::status),
      optional("taskID", &TeamworkRequest::taskID),
      optional("title", &TeamworkRequest::title),
      optional("body", &TeamworkRequest::body),
      optional("note", &TeamworkRequest::note),
      optional("blocked", &TeamworkRequest::blocked),
      optional("blockerQuestion", &TeamworkRequest::blockerQuestion),
      optional("parkReason", &TeamworkRequest::parkReason),
      optional("summary", &TeamworkRequest::summary),
      optional("waitsOn", &TeamworkRequest::waitsOn),
      optional("taskIDs", &TeamworkRequest::taskIDs),
      optional("sinceRev", &TeamworkRequest::sinceRev),
      optional("holdMs", &TeamworkRequest::holdMs),
      optional("wakeOnStateChanges", &TeamworkRequest::wakeOnStateChanges),
      optional("releaseReason", &TeamworkRequest::releaseReason),
      optional("waiting", &TeamworkRequest::waiting),
      optional("standDown", &TeamworkRequest::standDown),
      optional("tags", &TeamworkRequest::tags),
      optional("editLast", &TeamworkRequest::editLast),
      optional("acknowledgeOpenTasks", &TeamworkRequest::acknowledgeOpenTasks),
      optional("discussionID", &TeamworkRequest::discussionID),
  };
};

}  // namespace qv
