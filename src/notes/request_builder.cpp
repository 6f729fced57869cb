#include "notes/request_builder.h"

#include "command/flag_fields.h"

namespace qv::MCPRequestBuilder {

namespace {

using Request = MCPBridgeRequest;

template <class Value>
using Field = FlagField<Request, Value>;

constexpr Field<std::string> kTexts[] = {
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
constexpr Field<std::int64_t> kIntegers[] = {
    {&Request::after, "after"},
    {&Request::revision, "revision"},
};

}  // namespace

MCPBridgeRequest build(std::string_view method, const ArgBox& flags) {
  Request request;
  request.method = method;
  fill(request, flags, kTexts);
  fill(request, flags, kIntegers);
  if (flags.boolean("all").value_or(false)) request.replaceAll = true;
  return request;
}

}  // namespace qv::MCPRequestBuilder
