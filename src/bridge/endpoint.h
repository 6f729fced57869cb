#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "base/record.h"
#include "bridge/transport.h"

// One of the app's bridges as a command sees it: where it listens, what it is shown, and the
// one way to ask it something.
namespace qv::bridge {

struct Endpoint {
  std::string socket;      // empty when no bridge was found
  std::string token_file;  // may be empty
  std::string token_seed;  // counts when the file says nothing

  // The token that the bridge expects: what the file holds, without the white space around it,
  // and otherwise the seed. May be empty.
  [[nodiscard]] std::string token() const;
};

// Sends the request with its envelope filled in, as `BridgeTransport::exchange` does. Slashes
// are escaped, as the app itself does.
template <record::Record Request>
[[nodiscard]] BridgeTransport::Reply ask(const Endpoint& endpoint, const std::string& sessionID,
                                         Request request,
                                         const BridgeTransport::Options& options = {}) {
  request.token = endpoint.token();
  request.sessionID = sessionID;
  return BridgeTransport::exchange(record::to_text(request, json::Slashes::escaped),
                                   endpoint.socket, options);
}

// The same for a reply that need not be held, as `BridgeTransport::stream` does.
template <record::Record Request>
[[nodiscard]] BridgeTransport::Outcome ask(const Endpoint& endpoint, const std::string& sessionID,
                                           Request request,
                                           const std::function<void(std::string_view piece)>& take,
                                           const BridgeTransport::Options& options = {}) {
  request.token = endpoint.token();
  request.sessionID = sessionID;
  return BridgeTransport::stream(record::to_text(request, json::Slashes::escaped), endpoint.socket,
                                 take, options);
}

}  // namespace qv::bridge
