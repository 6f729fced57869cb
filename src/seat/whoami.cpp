// The board knows best who this terminal is, so it is asked whenever it can be, and what
// it says is kept in the pane's record. The record answers only while the board cannot.

#include "seat/whoami.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "base/files.h"
#include "board/request.h"
#include "board/response.h"
#include "bridge/complaints.h"
#include "bridge/endpoint.h"
#include "notes/request.h"
#include "notes/response.h"
#include "seat/options.h"
#include "seat/seat_report.h"

namespace qv::seat {

namespace {

constexpr std::string_view kHelp =
    "qv whoami — which Thread and seat this terminal is.\n"
    "\n"
    "USAGE\n"
    "  qv whoami [--set <name>] [--json]\n"
    "\n"
    "FLAGS\n"
    "  --set <text>  Set the name your board seat and notes are attributed to.";

ExitCode set_name(const std::string& name, CLIRuntime& runtime) {
  const CLIEnvironment& env = runtime.env();
  MCPBridgeRequest request;
  request.method = "set_actor_name";
  request.name = name;
  const auto reply = bridge::ask(env.notes, env.sessionID, request);
  if (!reply) {
    runtime.err(complaints::not_answering("notes", env.notes.socket, reply));
    return ExitCode::unavailable;
  }
  const auto response = record::from_text<MCPBridgeResponse>(reply.view());
  if (!response) {
    runtime.err("qv whoami: the notes bridge sent a reply this build could not read.");
    return ExitCode::usage;
  }
  if (response->kind == MCPBridgeResponse::Kind::error) {
    const std::string message = response->message.value_or("");
    runtime.err(message.empty() ? "qv whoami: that name could not be set." : message);
    return ExitCode::usage;
  }
  runtime.out("Name set to " + name + ".");
  return ExitCode::ok;
}

// The board's list of agents; absent when it could not be asked or would not say.
std::optional<TeamworkResponse> agents_on_board(CLIRuntime& runtime) {
  const CLIEnvironment& env = runtime.env();
  using Kind = TeamworkResponse::Kind;
  TeamworkRequest request;
  request.method = "list_agents";
  const auto reply = bridge::ask(env.board, env.sessionID, request);
  if (!reply) {
    const std::string reason = complaints::served_by_another_user(env.board.socket, reply);
    if (!reason.empty()) runtime.err(reason);
    return std::nullopt;
  }
  auto response = record::from_text<TeamworkResponse>(reply.view());
  if (response && (response->kind == Kind::gated || response->kind == Kind::error)) return {};
  return response;
}

bool is_up(const std::string& socket) { return !socket.empty() && files::exists(socket); }

// Takes over what the board says about this pane, in the report and in the record. A pane
// the board does not know has no seat any more, whatever the record remembers.
void learn(const TeamworkResponse& response, SeatReport& report, CLIRuntime& runtime) {
  const auto agents = response.agents.value_or(std::vector<TeamworkAgent>{});
  const auto self = std::ranges::find(agents, true, &TeamworkAgent::isSelf);
  const TeamworkAgent* seat = self == agents.end() ? nullptr : &*self;
  report.boardAnswered = true;
  report.fingerprint = seat == nullptr ? "" : seat->fingerprint;
  report.handle = seat == nullptr ? "" : seat->handle;
  const auto unless_empty = [](const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
  };
  runtime.state().update([&](PaneState& state) {
    state.fingerprint = unless_empty(report.fingerprint);
    state.handle = unless_empty(report.handle);
  });
}

SeatReport gather(CLIRuntime& runtime) {
  const CLIEnvironment& env = runtime.env();
  const std::optional<PaneState> record = runtime.state().read();
  const PaneState state = record.value_or(PaneState{});
  SeatReport report{
      .sessionID = env.sessionID,
      .fingerprint = state.fingerprint.value_or(""),
      .handle = state.handle.value_or(""),
      .boardAnswered = false,
      .lastSeenRev = record ? std::optional(state.lastSeenRev) : std::nullopt,
      .hasCursor = state.hasCursor,
      .boardUp = is_up(env.board.socket),
      .notesUp = is_up(env.notes.socket),
      .vaultUp = is_up(env.vault.socket),
  };
  if (!report.boardUp) return report;
  if (const auto response = agents_on_board(runtime)) learn(*response, report, runtime);
  return report;
}

}  // namespace

ExitCode whoami(const std::vector<std::string>& arguments, CLIRuntime& runtime) {
  const Options options = parse_options(arguments, kWhoamiFlags);
  if (const auto status = settled(options, kWhoamiFlags, "whoami", kHelp, runtime)) return *status;
  if (runtime.env().sessionID.empty()) {
    runtime.err(complaints::kNotInThread);
    return ExitCode::unavailable;
  }
  const auto name = options.values.find("set");
  if (name != options.values.end()) return set_name(name->second, runtime);

  runtime.state().remove_leftovers();
  const SeatReport report = gather(runtime);
  runtime.out(options.wantsJSON ? as_json(report) : as_prose(report));
  return ExitCode::ok;
}

}  // namespace qv::seat
