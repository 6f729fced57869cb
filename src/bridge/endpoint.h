#pragma once

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "base/record.h"
#include "base/trace.h"
#include "bridge/transport.h"

// One of the app's bridges as a command sees it: where it listens, what it is shown, and the
// one way to ask it something.
namespace qv::bridge {

// What says where a bridge listens.
enum class Origin { nothing, variable, seat, search };

struct Endpoint {
  std::string socket;      // empty when no bridge was found
  std::string token_file;  // may be empty
  std::string token_seed;  // counts when the file says nothing
  Origin origin = Origin::nothing;

  // The token that the bridge expects: what the file holds, without the white space around it,
  // and otherwise the seed. May be empty.
  [[nodiscard]] std::string token() const;
};

namespace detail {

template <record::Record Request>
std::string enveloped(const Endpoint& endpoint, const std::string& sessionID, Request& request) {
  request.token = endpoint.token();
  request.sessionID = sessionID;
  trace::step("request ", request.method, " with a token of ", request.token.size(),
              " bytes and a session of ", sessionID.size());
  return record::to_text(request, json::Slashes::escaped);
}

}  // namespace detail

// Sends the request with its envelope filled in, as `BridgeTransport::exchange` does. Slashes
// are escaped, as the app itself does.
template <record::Record Request>
[[nodiscard]] BridgeTransport::Reply ask(const Endpoint& endpoint, const std::string& sessionID,
                                         Request request,
                                         const BridgeTransport::Options& options = {},
                                         const std::function<void(std::span<char>)>& look = {}) {
  return BridgeTransport::exchange(detail::enveloped(endpoint, sessionID, request), endpoint.socket,
                                   options, look);
}

// The same for a reply that need not be held, as `BridgeTransport::stream` does.
template <record::Record Request>
[[nodiscard]] BridgeTransport::Outcome ask(const Endpoint& endpoint, const std::string& sessionID,
                                           Request request,
                                           const std::function<void(std::string_view piece)>& take,
                                           const BridgeTransport::Options& options = {}) {
  return BridgeTransport::stream(detail::enveloped(endpoint, sessionID, request), endpoint.socket,
                                 take, options);
}

}  // namespace qv::bridge

template <>
struct qv::record::Words<qv::bridge::Origin> {
  static constexpr std::array<std::string_view, 4> words{"nothing", "variable", "seat", "search"};
};
