#pragma once

#include <string>
#include <string_view>

#include "bridge/transport.h"

// What every command that needs a bridge says when there is none.
namespace qv::complaints {

inline constexpr std::string_view kNotInThread =
    "qv: this terminal is not inside a Quorvel Thread, so there is no board to reach.";

// That another user serves the socket, when that is why no reply came; empty otherwise.
[[nodiscard]] std::string served_by_another_user(const std::string& socket_path,
                                                 const BridgeTransport::Outcome& outcome);

// `bridge` is the bridge's display word, "board" or "notes". With a second line when it is
// another user who serves its socket.
[[nodiscard]] std::string not_answering(std::string_view bridge, const std::string& socket_path,
                                        const BridgeTransport::Outcome& outcome);

}  // namespace qv::complaints
