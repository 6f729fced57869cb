#include "notes/driver.h"

#include <utility>

#include "base/trace.h"
#include "bridge/complaints.h"
#include "bridge/endpoint.h"
#include "notes/note_stream.h"
#include "notes/rendering.h"
#include "notes/request_builder.h"

namespace qv::notes {

namespace {

using Kind = MCPBridgeResponse::Kind;

// The bridge's answer: the reply as it came or, where the note's text never came to memory,
// its frame and the page. Without one, `whole` says why.
struct Answer {
  BridgeTransport::Reply whole;
  std::string frame;
  std::optional<std::string> page;

  [[nodiscard]] std::string_view json() const { return whole.bytes ? whole.view() : frame; }
};

Answer ask(const MCPBridgeRequest& request, const View& view, bool wantsJSON,
           const CLIEnvironment& env) {
  Answer answer;
  if (wantsJSON || !(view.offset || view.limit)) {
    answer.whole = bridge::ask(env.notes, env.sessionID, request);
    return answer;
  }
  NoteStream stream(view.offset, view.limit);
  const auto take = [&stream](std::string_view piece) { stream.take(piece); };
  static_cast<BridgeTransport::Outcome&>(answer.whole) =
      bridge::ask(env.notes, env.sessionID, request, take);
  answer.frame = stream.frame();
  answer.page = stream.page();
  return answer;
}

// A reply that cannot be read counts as a refusal.
ExitCode status_for(const std::optional<MCPBridgeResponse>& response, const Verb& verb) {
  if (!response || response->kind == Kind::error) return ExitCode::refused;
  const bool not_found = response->kind == Kind::empty && verb.emptyMeansNotFound;
  return not_found ? ExitCode::notFound : ExitCode::ok;
}

}  // namespace

ExitCode run(const Verb& verb, const ArgBox& flags, bool wantsJSON, CLIRuntime& runtime) {
  const CLIEnvironment& env = runtime.env();
  if (env.sessionID.empty() || env.notes.socket.empty()) {
    runtime.err(complaints::kNotInThread);
    return ExitCode::unavailable;
  }
  const MCPBridgeRequest request = MCPRequestBuilder::build(verb.method, flags);
  View view{verb.method, flags.integer("offset"), flags.integer("limit"), {}};
  auto answer = ask(request, view, wantsJSON, env);
  if (!answer.whole) {
    runtime.err(complaints::not_answering("notes", env.notes.socket, answer.whole));
    return ExitCode::unavailable;
  }
  const auto reply = json::parse(answer.json());
  std::optional<MCPBridgeResponse> response(std::in_place);
  if (!reply || !record::decode(*reply, *response)) response.reset();

  trace::step(response ? record::word(response->kind) : "nothing readable", " in the reply");

  const ExitCode status = status_for(response, verb);
  if (wantsJSON) {
    runtime.out(reply ? json::pretty(*reply, {}, runtime.out_part) : std::string(answer.json()));
  } else if (!response) {
    runtime.err("qv: the notes bridge sent a reply this build could not read.");
  } else if (status == ExitCode::notFound) {
    runtime.err("qv note " + std::string(verb.name) +
                ": no note by that name in this room. `qv note list` shows what is here.");
  } else {
    view.page = std::move(answer.page);
    runtime.out(render(*response, view));
  }
  return status;
}

}  // namespace qv::notes
