#pragma once

#include <optional>
#include <string>
#include <vector>

// Finds the sockets of running app instances from what they leave on disk:
//
//   BASE/Quorvel/ and BASE/Quorvel-*/     one directory for each instance
//     <kind>-<suffix>.sock, .token        a bridge's socket, and its token beside it
//   BASE/Quorvel/agent-seat               second line: the notes socket of the seat
//
// BASE is the application support directory. Nothing here fails: what cannot be read is
// not there.
namespace qv::BridgeDiscovery {

enum class Kind { mcp, teamwork, vault };

struct Candidate {
  std::string socketPath;
  std::string tokenPath;
};

// The notes socket an external agent joined through, from the seat file.
[[nodiscard]] std::optional<std::string> seat_socket(const std::string& seat_file);

// The path of another bridge's socket of the same instance; empty when the name of
// `socket` holds no "-". Not checked for existence.
[[nodiscard]] std::string sibling(const std::string& socket, Kind kind);

// The socket's path with its extension replaced by "token"; empty for an empty path.
[[nodiscard]] std::string token_path(const std::string& socket);

// Every socket of this kind in every instance directory, newest first.
[[nodiscard]] std::vector<Candidate> candidates(Kind kind, const std::string& base);

// The one socket of this kind that somebody listens on. None when there is none, and none
// when there are several: nobody but the user can tell which is meant.
[[nodiscard]] std::optional<std::string> live_socket(Kind kind, const std::string& base);

}  // namespace qv::BridgeDiscovery
