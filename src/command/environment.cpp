// The app tells its panes everything in variables. An outside agent has a seat instead, and a
// terminal with neither may still be beside the one instance that runs.

#include "command/environment.h"

#include <cstdlib>

#include "base/text.h"
#include "bridge/discovery.h"

namespace qv {

namespace {

using BridgeDiscovery::Kind;

struct BridgeVariables {
  Kind kind;
  std::string_view socket;
  std::string_view token_file;
  std::string_view token;  // empty: the token of this bridge comes from its file only
};

constexpr BridgeVariables kBoard{Kind::teamwork, "QUORVEL_COLLAB_SOCKET",
                                 "QUORVEL_COLLAB_TOKEN_FILE", "QUORVEL_COLLAB_TOKEN"};
constexpr BridgeVariables kNotes{Kind::mcp, "QUORVEL_MCP_SOCKET", "QUORVEL_MCP_TOKEN_FILE",
                                 "QUORVEL_MCP_TOKEN"};
constexpr BridgeVariables kVault{Kind::vault, "QUORVEL_VAULT_SOCKET", "QUORVEL_VAULT_TOKEN_FILE",
                                 ""};

// What goes into a request has to be UTF-8; a path may be any bytes.
std::string text_of(std::string_view name, const EnvironmentMap& variables) {
  return text::repaired(variables(name).value_or(""));
}

// An explicit variable wins, even an empty one; then the seat decides; only an agent
// without a seat has the machine searched.
bridge::Endpoint locate(const BridgeVariables& names, const EnvironmentMap& variables,
                        const std::optional<std::string>& seat_socket, const std::string& base) {
  bridge::Endpoint endpoint;
  if (auto socket = variables(names.socket)) {
    endpoint.socket = *socket;
  } else if (seat_socket) {
    endpoint.socket =
        names.kind == Kind::mcp ? *seat_socket : BridgeDiscovery::sibling(*seat_socket, names.kind);
  } else {
    endpoint.socket = BridgeDiscovery::live_socket(names.kind, base).value_or("");
  }
  endpoint.token_file =
      variables(names.token_file).value_or(BridgeDiscovery::token_path(endpoint.socket));
  if (!names.token.empty()) endpoint.token_seed = text_of(names.token, variables);
  return endpoint;
}

}  // namespace

CLIEnvironment CLIEnvironment::from(const EnvironmentMap& variables,
                                    const std::string& application_support) {
  CLIEnvironment env;
  env.agentSeatFile = application_support + "/Quorvel/agent-seat";
  const auto seat = BridgeDiscovery::seat_socket(env.agentSeatFile);
  env.sessionID = text_of("QUORVEL_SESSION_ID", variables);
  env.board = locate(kBoard, variables, seat, application_support);
  env.notes = locate(kNotes, variables, seat, application_support);
  env.vault = locate(kVault, variables, seat, application_support);
  env.secretBin = variables("QUORVEL_SECRET_BIN").value_or("");
  return env;
}

std::optional<std::string> process_variable(std::string_view name) {
  const char* value = std::getenv(std::string(name).c_str());
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

}  // namespace qv
