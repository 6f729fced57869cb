// One board command: environment, request, exchange, reply, text, status. The board is
// authoritative, so nearly everything is sent and the kind of the reply decides.

#include "board/driver.h"

#include <optional>
#include <span>
#include <utility>

#include "base/trace.h"
#include "board/reply_rendering.h"
#include "board/request_builder.h"
#include "board/task_rendering.h"
#include "bridge/complaints.h"
#include "bridge/endpoint.h"

namespace qv::board {

namespace {

using Kind = TeamworkResponse::Kind;

bool refused(const TeamworkResponse& response) {
  return response.kind == Kind::gated || response.kind == Kind::error;
}

// Later reads depend on who this pane is, so what a reply tells about it is kept.
void remember(const TeamworkResponse& response, json::Value reply, std::string_view method,
              CLIRuntime& runtime) {
  const bool left = method == "unregister" && !refused(response);
  const bool tells_seat = response.kind == Kind::agents ||
                          (response.kind == Kind::empty && method == "list_agents") ||
                          (response.kind == Kind::registered && response.agent.has_value());
  const TeamworkAgent* seat = tells_seat ? own_seat(response) : nullptr;
  const bool seat_known = tells_seat || left;
  if (!seat_known && !response.obligations) return;
  runtime.state().update([&](PaneState& state) {
    if (seat_known) {
      state.fingerprint.reset();
      state.handle.reset();
    }
    if (seat != nullptr && !left) {
      state.fingerprint = seat->fingerprint;
      if (!seat->handle.empty()) state.handle = seat->handle;
    }
    if (response.obligations) state.obligationsJSON = json::compact(*reply.member("obligations"));
  });
}

std::string reader_of(const TeamworkResponse& response, CLIRuntime& runtime) {
  if (const TeamworkAgent* seat = own_seat(response)) return seat->fingerprint;
  return runtime.state().load().fingerprint.value_or("");
}

// A task list's JSON also carries the ids of each bucket, so that a script sees the same
// grouping as the prose.
void print_json(const TeamworkResponse& response, json::Value reply, std::string_view method,
                CLIRuntime& runtime) {
  std::optional<json::Document> buckets;
  std::optional<json::AddedMember> added;
  if (method == "list_tasks" && !refused(response)) {
    buckets =
        json::parse(bucket_ids(response.tasks.value_or(TaskList()), reader_of(response, runtime)));
    if (buckets) added = {"buckets", *buckets};
  }
  runtime.out(json::pretty(reply, added, runtime.out_part));
}

std::string as_prose(const TeamworkResponse& response, std::string_view method, const ArgBox& flags,
                     CLIRuntime& runtime) {
  const std::string reader =
      response.kind == Kind::tasks ? reader_of(response, runtime) : std::string();
  return render(response, {
                              .method = method,
                              .reader = reader,
                              .include_all = flags.text("include") == "all",
                              .page = {flags.integer("offset"), flags.integer("limit")},
                              .log_page = {flags.integer("logOffset"), flags.integer("logLimit")},
                          });
}

}  // namespace

ExitCode run(const Verb& verb, const ArgBox& flags, bool wantsJSON, CLIRuntime& runtime) {
  const CLIEnvironment& env = runtime.env();
  if (env.sessionID.empty() || env.board.socket.empty()) {
    runtime.err(complaints::kNotInThread);
    return ExitCode::unavailable;
  }
  const auto outcome = TeamworkRequestBuilder::build(verb.method, flags);
  if (const auto* refusal = std::get_if<TeamworkRequestBuilder::Refused>(&outcome)) {
    runtime.err(refusal->message);
    return ExitCode::refused;
  }
  const std::string warning = TeamworkRequestBuilder::warning(flags);
  if (!warning.empty()) runtime.err(warning);
  json::Reader reader;
  auto bytes = bridge::ask(env.board, env.sessionID, std::get<TeamworkRequest>(outcome), {},
                           [&](std::span<char> so_far) { reader.read(so_far); });
  if (!bytes) {
    runtime.err(complaints::not_answering("board", env.board.socket, bytes));
    return ExitCode::unavailable;
  }
  const auto reply = reader.finish(bytes.text());
  TeamworkResponse response;
  const bool readable = reply && record::decode(*reply, response);
  trace::step(readable ? record::word(response.kind) : "nothing readable", " in the reply");
  if (!readable) {
    runtime.err("qv: the board sent a reply this build could not read.");
    return ExitCode::refused;
  }
  remember(response, *reply, verb.method, runtime);

  const bool not_found = response.kind == Kind::empty && verb.emptyMeansNotFound;
  if (wantsJSON) {
    print_json(response, *reply, verb.method, runtime);
  } else if (not_found) {
    runtime.err("qv task " + std::string(verb.name) +
                ": nothing here by that name. Check the id with `qv task list`.");
  } else {
    runtime.out(as_prose(response, verb.method, flags, runtime));
  }
  if (not_found) return ExitCode::notFound;
  return refused(response) ? ExitCode::refused : ExitCode::ok;
}

}  // namespace qv::board
