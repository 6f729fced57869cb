#pragma once

#include <string>
#include <string_view>

// What every command that needs a bridge says when there is none.
namespace qv::complaints {

inline constexpr std::string_view kNotInThread =
    "qv: this terminal is not inside a Quorvel Thread, so there is no board to reach.";

// `bridge` is the bridge's display word, "board" or "notes".
[[nodiscard]] inline std::string not_answering(std::string_view bridge) {
  return "qv: the Quorvel " + std::string(bridge) +
         " is not answering. The app may be starting, or this "
         "pane may belong to a Quorvel instance that has since quit.";
}

}  // namespace qv::complaints
