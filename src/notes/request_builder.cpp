#include "notes/request_builder.h"

namespace qv::MCPRequestBuilder {

namespace {

using Request = MCPBridgeRequest;

template <class T>
struct Filled {
  std::optional<T> Request::*field;
  std::string_view flag;
};

constexpr Filled<std::string> kTexts[] = {
    {&Request::name, "name"},
    {&Request::section, "section"},
    {&Request::body, "body"},
    {&Request::notebook, "notebook"},
    {&Request::description, "description"},
    {&Request::newName, "newName"},
    {&Request::find, "find"},
    {&Request::why, "why"},
    {&Request::milestone, "milestone"},
};
constexpr Filled<std::int64_t> kIntegers[] = {
    {&Request::after, "after"},
    {&Request::revision, "revision"},
};

}  // namespace

MCPBridgeRequest build(std::string_view method, const ArgParser::ArgBox& flags,
                       const std::string& token, const std::string& sessionID) {
  Request request;
  request.token = token;
  request.sessionID = sessionID;
  request.method = method;
  for (const auto& [field, flag] : kTexts) request.*field = flags.text(flag);
  for (const auto& [field, flag] : kIntegers) request.*field = flags.integer(flag);
  if (flags.boolean("all").value_or(false)) request.replaceAll = true;
  return request;
}

}  // namespace qv::MCPRequestBuilder
