// An agent that the app did not start takes a seat here. A terminal that knows its notes
// bridge asks that one and hears its answer. One that does not, because several instances
// run or none can be told apart, shows its code to each in turn: only the instance that
// issued the code accepts it, so the first to accept is the right one.

#include "seat/join.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "base/files.h"
#include "base/json.h"
#include "bridge/complaints.h"
#include "bridge/discovery.h"
#include "bridge/endpoint.h"
#include "notes/request.h"
#include "notes/response.h"
#include "platform/paths.h"
#include "seat/options.h"
#include "seat/seat_secret.h"

namespace qv::seat {

namespace {

constexpr std::string_view kHelp =
    "qv join: admit this terminal to a Thread as an external agent seat.\n"
    "\n"
    "USAGE\n"
    "  qv join <code>              redeem the join code a Thread shows on screen\n"
    "  qv join <code> --as <name>  redeem it and pick your own name\n"
    "  qv join                     reconnect using the stored seat secret\n"
    "\n"
    "  --json works with each of them; --name is another way to write --as.\n"
    "\n"
    "NAMING YOURSELF\n"
    "  Without --as the Thread names you by its own handle scheme. With it, the\n"
    "  name is checked against everyone on the board, and if it is taken\n"
    "  the join is refused and YOUR CODE IS STILL GOOD, so try another.\n"
    "  Either way your peers still address you by your handle.\n"
    "\n"
    "A seat is weaker than a pane, on purpose. It reaches its own room and the\n"
    "room the Thread shares, and nothing else: no spawning terminals, no hands, no\n"
    "aim at another Mac. The first join prints the seat secret once and stores it,\n"
    "0600, beside the notes socket.";

// What the terminal shows to be admitted.
struct Claim {
  std::optional<std::string> code;
  std::optional<std::string> secret;
  std::optional<std::string> name;  // the name it would like to have
};

struct Reply {
  json::Document json;
  MCPBridgeResponse response;

  [[nodiscard]] bool refused() const { return response.kind == MCPBridgeResponse::Kind::error; }
};

Claim claim_from(const Options& options, const std::string& seat_file) {
  Claim claim;
  if (!options.words.empty()) claim.code = options.words.front();
  if (!claim.code) claim.secret = SeatSecret::read(seat_file);
  for (const std::string_view option : {"name", "as"}) {
    const auto given = options.values.find(option);
    if (given != options.values.end()) claim.name = given->second;
  }
  return claim;
}

BridgeTransport::Reply ask(const Claim& claim, const bridge::Endpoint& notes,
                           const std::string& sessionID) {
  MCPBridgeRequest request;
  request.method = "join_thread";
  request.name = claim.code;
  request.section = claim.name;
  request.body = claim.secret;
  return bridge::ask(notes, sessionID, request);
}

std::optional<Reply> read_reply(std::string_view bytes) {
  auto json = json::parse(bytes);
  MCPBridgeResponse response;
  if (!json || !record::decode(*json, response)) return std::nullopt;
  return Reply{std::move(*json), std::move(response)};
}

ExitCode admitted(const Reply& reply, const std::string& socket, bool wantsJSON,
                  CLIRuntime& runtime) {
  const std::string& seat_file = runtime.env().agentSeatFile;
  std::string text = reply.response.message.value_or("");
  const auto secret = SeatSecret::in_message(text);
  std::string failure;
  if (secret) {
    if (!SeatSecret::store(seat_file, *secret, socket)) failure = std::strerror(errno);
    text += "\n\nStored that secret at " + seat_file +
            " (0600, readable only by you). "
            "Leave it there: it is what reconnects this agent after it restarts, "
            "with no fresh code needed.";
  }
  runtime.out(wantsJSON ? json::pretty(reply.json) : text);
  // The seat is taken all the same, and the message has shown the secret.
  if (!failure.empty()) {
    runtime.err("qv join: the seat secret could not be stored at " + seat_file + ": " + failure +
                ".");
  }
  return ExitCode::ok;
}

ExitCode turned_away(const Reply& reply, bool wantsJSON, CLIRuntime& runtime) {
  const std::string message = reply.response.message.value_or("");
  if (wantsJSON) {
    runtime.out(json::pretty(reply.json));
  } else {
    runtime.err(message.empty() ? "qv join: that could not be redeemed." : message);
  }
  return ExitCode::refused;
}

ExitCode join_known_instance(const Claim& claim, bool wantsJSON, CLIRuntime& runtime) {
  const CLIEnvironment& env = runtime.env();
  const auto bytes = ask(claim, env.notes, env.sessionID);
  if (!bytes) {
    runtime.err(complaints::not_answering("notes", env.notes.socket, bytes));
    return ExitCode::unavailable;
  }
  const auto reply = read_reply(bytes.view());
  if (!reply) {
    runtime.err("qv join: the notes bridge sent a reply this build could not read.");
    return ExitCode::refused;
  }
  if (reply->refused()) return turned_away(*reply, wantsJSON, runtime);
  return admitted(*reply, env.notes.socket, wantsJSON, runtime);
}

// An instance that hangs costs no more than the transport waits for any reply.
ExitCode join_any_instance(const Claim& claim, bool wantsJSON, CLIRuntime& runtime) {
  using BridgeDiscovery::Kind;
  for (const auto& instance :
       BridgeDiscovery::candidates(Kind::mcp, platform::application_support_directory())) {
    const auto bytes = ask(claim, {.socket = instance.socketPath, .token_file = instance.tokenPath},
                           runtime.env().sessionID);
    if (!bytes) {
      const std::string reason = complaints::served_by_another_user(instance.socketPath, bytes);
      if (!reason.empty()) runtime.err(reason);
      continue;
    }
    const auto reply = read_reply(bytes.view());
    if (!reply || reply->refused()) continue;
    return admitted(*reply, instance.socketPath, wantsJSON, runtime);
  }
  runtime.err(
      "qv join: that code wasn't accepted by anything running on this Mac right now. "
      "It may have expired, or the app may not be running.");
  return ExitCode::refused;
}

}  // namespace

ExitCode join(const std::vector<std::string>& arguments, CLIRuntime& runtime) {
  const Options options = parse_options(arguments, kJoinFlags);
  if (const auto status = settled(options, kJoinFlags, "join", kHelp, runtime)) return *status;
  const CLIEnvironment& env = runtime.env();
  files::remove_leftovers(files::directory_of(env.agentSeatFile));
  const Claim claim = claim_from(options, env.agentSeatFile);
  if (!claim.code && !claim.secret) {
    runtime.err(
        "qv join: no code given, and no seat secret is stored here yet. "
        "Run `qv join <code>` with the code the Thread showed on screen.");
    return ExitCode::usage;
  }
  if (!env.notes.socket.empty()) return join_known_instance(claim, options.wantsJSON, runtime);
  if (claim.code) return join_any_instance(claim, options.wantsJSON, runtime);
  runtime.err(complaints::kNotInThread);
  return ExitCode::unavailable;
}

}  // namespace qv::seat
