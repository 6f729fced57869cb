// The app tells its panes everything in variables. An outside agent has a seat instead, and a
// terminal with neither may still be beside the one instance that runs.

#include "cli/environment.h"

#include <cstdlib>

#include "base/text.h"
#include "bridge/discovery.h"

namespace qv {

namespace {

using BridgeDiscovery::Kind;

struct BridgeVariables {
  std::string_view socket;
  std::string_view token_file;
};

struct BridgePaths {
  std::string socket;
  std::string token_file;
};

// An explicit variable wins, even an empty one; then the seat decides; only an agent
// without a seat has the machine searched.
BridgePaths locate(Kind kind, const BridgeVariables& names, const EnvironmentMap& variables,
                   const std::optional<std::string>& seat_socket, const std::string& base) {
  BridgePaths paths;
  if (auto socket = variables(names.socket)) {
    paths.socket = *socket;
  } else if (seat_socket) {
    paths.socket = kind == Kind::mcp ? *seat_socket : BridgeDiscovery::sibling(*seat_socket, kind);
  } else {
    paths.socket = BridgeDiscovery::live_socket(kind, base).value_or("");
  }
  paths.token_file =
      variables(names.token_file).value_or(BridgeDiscovery::token_path(paths.socket));
  return paths;
}

}  // namespace

CLIEnvironment CLIEnvironment::from(const EnvironmentMap& variables,
                                    const std::string& application_support) {
  // What goes into a request has to be UTF-8; a path may be any bytes.
  const auto text = [&](std::string_view name) {
    return text::repaired(variables(name).value_or(""));
  };
  CLIEnvironment env;
  env.agentSeatFile = application_support + "/Quorvel/agent-seat";
  const auto seat = BridgeDiscovery::seat_socket(env.agentSeatFile);
  const auto bridge = [&](Kind kind, const BridgeVariables& names) {
    return locate(kind, names, variables, seat, application_support);
  };

  env.sessionID = text("QUORVEL_SESSION_ID");
  const BridgePaths board =
      bridge(Kind::teamwork, {"QUORVEL_COLLAB_SOCKET", "QUORVEL_COLLAB_TOKEN_FILE"});
  env.collabSocket = board.socket;
  env.collabTokenFile = board.token_file;
  env.collabTokenSeed = text("QUORVEL_COLLAB_TOKEN");
  const BridgePaths notes = bridge(Kind::mcp, {"QUORVEL_MCP_SOCKET", "QUORVEL_MCP_TOKEN_FILE"});
  env.notesSocket = notes.socket;
  env.notesTokenFile = notes.token_file;
  env.notesTokenSeed = text("QUORVEL_MCP_TOKEN");
  const BridgePaths vault =
      bridge(Kind::vault, {"QUORVEL_VAULT_SOCKET", "QUORVEL_VAULT_TOKEN_FILE"});
  env.vaultSocket = vault.socket;
  env.vaultTokenFile = vault.token_file;
  env.secretBin = variables("QUORVEL_SECRET_BIN").value_or("");
  return env;
}

std::optional<std::string> process_variable(std::string_view name) {
  const char* value = std::getenv(std::string(name).c_str());
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

}  // namespace qv
