#include "notes/driver.h"

#include "bridge/complaints.h"
#include "bridge/token.h"
#include "bridge/transport.h"
#include "notes/rendering.h"
#include "notes/request_builder.h"

namespace qv::notes {

namespace {

using Kind = MCPBridgeResponse::Kind;

// A reply that cannot be read counts as a refusal.
ExitCode status_for(const std::optional<MCPBridgeResponse>& response, const Verb& verb) {
  if (!response || response->kind == Kind::error) return ExitCode::refused;
  const bool not_found = response->kind == Kind::empty && verb.emptyMeansNotFound;
  return not_found ? ExitCode::notFound : ExitCode::ok;
}

}  // namespace

ExitCode run(const Verb& verb, const ArgParser::ArgBox& flags, bool wantsJSON,
             CLIRuntime& runtime) {
  const CLIEnvironment& env = runtime.env();
  if (env.sessionID.empty() || env.notesSocket.empty()) {
    runtime.err(complaints::kNotInThread);
    return ExitCode::unavailable;
  }
  const MCPBridgeRequest request = MCPRequestBuilder::build(
      verb.method, flags, bridge_token(env.notesTokenFile, env.notesTokenSeed), env.sessionID);
  const auto bytes =
      BridgeTransport::exchange(record::to_text(request, json::Slashes::escaped), env.notesSocket);
  if (!bytes) {
    runtime.err(complaints::not_answering("notes"));
    return ExitCode::unavailable;
  }
  const auto reply = json::parse(bytes->view());
  std::optional<MCPBridgeResponse> response(std::in_place);
  if (!reply || !record::decode(*reply, *response)) response.reset();

  const ExitCode status = status_for(response, verb);
  if (wantsJSON) {
    runtime.out(reply ? json::pretty(*reply) : std::string(bytes->view()));
  } else if (!response) {
    runtime.err("qv: the notes bridge sent a reply this build could not read.");
  } else if (status == ExitCode::notFound) {
    runtime.err("qv note " + std::string(verb.name) +
                ": no note by that name in this room. `qv note list` shows what is here.");
  } else {
    runtime.out(render(*response, {verb.method, flags.integer("offset"), flags.integer("limit")}));
  }
  return status;
}

}  // namespace qv::notes
