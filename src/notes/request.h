#pragma once

// What a notes command sends; the seat commands use the same record.

#include <cstdint>
#include <optional>
#include <string>

#include "base/record.h"

namespace qv {

// One request to the notes bridge. The envelope is always there, the rest is what a verb
// fills. `locality` and `from` are words of the bridge that no command here fills.
struct MCPBridgeRequest {
  std::int64_t protocolVersion = 1;
  std::string token;
  std::string sessionID;
  std::string method;
  std::optional<std::string> name;
  std::optional<std::string> section;
  std::optional<std::string> body;
  std::optional<std::string> notebook;
  std::optional<std::string> description;
  std::optional<std::string> locality;
  std::optional<std::string> newName;
  std::optional<std::string> from;
  std::optional<std::string> find;
  std::optional<bool> replaceAll;
  std::optional<std::string> why;
  std::optional<std::int64_t> after;
  std::optional<std::string> milestone;
  std::optional<std::int64_t> revision;
};

template <>
struct record::Schema<MCPBridgeRequest> {
  static constexpr auto fields = std::tuple{
      required("protocolVersion", &MCPBridgeRequest::protocolVersion),
      required("token", &MCPBridgeRequest::token),
      required("sessionID", &MCPBridgeRequest::sessionID),
      required("method", &MCPBridgeRequest::method),
      optional("name", &MCPBridgeRequest::name),
      optional("section", &MCPBridgeRequest::section),
      optional("body", &MCPBridgeRequest::body),
      optional("notebook", &MCPBridgeRequest::notebook),
      optional("description", &MCPBridgeRequest::description),
      optional("locality", &MCPBridgeRequest::locality),
      optional("newName", &MCPBridgeRequest::newName),
      optional("from", &MCPBridgeRequest::from),
      optional("find", &MCPBridgeRequest::find),
      optional("replaceAll", &MCPBridgeRequest::replaceAll),
      optional("why", &MCPBridgeRequest::why),
      optional("after", &MCPBridgeRequest::after),
      optional("milestone", &MCPBridgeRequest::milestone),
      optional("revision", &MCPBridgeRequest::revision),
  };
};

}  // namespace qv
