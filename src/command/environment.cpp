// The app tells its panes everything in variables. An outside agent has a seat instead, and a
// terminal with neither may still be beside the one instance that runs.

#include "command/environment.h"

#include <algorithm>
#include <cstdlib>

#include "base/text.h"
#include "base/trace.h"

namespace qv {

namespace {

using bridge::Endpoint;
using bridge::Origin;
using BridgeDiscovery::Kind;

struct BridgeVariables {
  Kind kind;
  Endpoint CLIEnvironment::*endpoint;
  std::string_view socket;
  std::string_view token_file;
  std::string_view token;  // empty: the token of this bridge comes from its file only
};

constexpr BridgeVariables kBridges[] = {
    {Kind::teamwork, &CLIEnvironment::board, "QUORVEL_COLLAB_SOCKET", "QUORVEL_COLLAB_TOKEN_FILE",
     "QUORVEL_COLLAB_TOKEN"},
    {Kind::mcp, &CLIEnvironment::notes, "QUORVEL_MCP_SOCKET", "QUORVEL_MCP_TOKEN_FILE",
     "QUORVEL_MCP_TOKEN"},
    {Kind::vault, &CLIEnvironment::vault, "QUORVEL_VAULT_SOCKET", "QUORVEL_VAULT_TOKEN_FILE", ""},
};

// What goes into a request has to be UTF-8; a path may be any bytes.
std::string text_of(std::string_view name, const EnvironmentMap& variables) {
  return text::repaired(variables(name).value_or(""));
}

std::string seat_file_in(const std::string& application_support) {
  return application_support + "/Quorvel/agent-seat";
}

// Finds bridges by what points to them.
class Finder {
 public:
  Finder(const EnvironmentMap& variables, const std::string& base)
      : variables_(variables),
        base_(base),
        seat_(BridgeDiscovery::seat_socket(seat_file_in(base))) {}

  // An explicit variable wins, even an empty one; then the seat decides; only an agent
  // without a seat has the machine searched.
  [[nodiscard]] Endpoint decisive(const BridgeVariables& names) const {
    const auto told = named(names);
    if (!told.empty()) return told.front();
    const auto live = BridgeDiscovery::live_socket(names.kind, base_);
    return at(live.value_or(""), live ? Origin::search : Origin::nothing, names);
  }

  [[nodiscard]] std::vector<Endpoint> every(const BridgeVariables& names) const {
    std::vector<Endpoint> found = named(names);
    for (const auto& candidate : BridgeDiscovery::candidates(names.kind, base_)) {
      found.push_back(at(candidate.socketPath, Origin::search, names));
    }
    return found;
  }

 private:
  // By the variable, and by the seat.
  [[nodiscard]] std::vector<Endpoint> named(const BridgeVariables& names) const {
    std::vector<Endpoint> found;
    if (const auto socket = variables_(names.socket)) {
      found.push_back(at(*socket, Origin::variable, names));
    }
    if (seat_) {
      const std::string socket =
          names.kind == Kind::mcp ? *seat_ : BridgeDiscovery::sibling(*seat_, names.kind);
      found.push_back(at(socket, Origin::seat, names));
    }
    return found;
  }

  [[nodiscard]] Endpoint at(const std::string& socket, Origin origin,
                            const BridgeVariables& names) const {
    Endpoint endpoint{.socket = socket, .origin = origin};
    endpoint.token_file =
        variables_(names.token_file).value_or(BridgeDiscovery::token_path(socket));
    if (!names.token.empty()) endpoint.token_seed = text_of(names.token, variables_);
    return endpoint;
  }

  const EnvironmentMap& variables_;
  const std::string& base_;
  std::optional<std::string> seat_;
};

}  // namespace

CLIEnvironment CLIEnvironment::from(const EnvironmentMap& variables,
                                    const std::string& application_support) {
  const Finder finder(variables, application_support);
  CLIEnvironment env;
  env.agentSeatFile = seat_file_in(application_support);
  env.sessionID = text_of("QUORVEL_SESSION_ID", variables);
  trace::step("environment: session of ", env.sessionID.size(), " bytes, app's folder ",
              application_support);
  for (const BridgeVariables& names : kBridges) {
    const Endpoint& found = env.*names.endpoint = finder.decisive(names);
    trace::step("environment: ", names.socket, " is ", found.socket, " (",
                record::word(found.origin), ")");
  }
  env.secretBin = variables("QUORVEL_SECRET_BIN").value_or("");
  return env;
}

std::vector<Endpoint> every_endpoint(Kind kind, const EnvironmentMap& variables,
                                     const std::string& application_support) {
  const auto names = std::ranges::find(kBridges, kind, &BridgeVariables::kind);
  return Finder(variables, application_support).every(*names);
}

std::optional<std::string> process_variable(std::string_view name) {
  const char* value = std::getenv(std::string(name).c_str());
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

}  // namespace qv
