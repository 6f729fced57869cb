#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// One request and one reply over a Unix-domain socket: one connection for each exchange.
namespace qv::BridgeTransport {

// A path may be this many bytes long on every system, whatever its own address holds.
inline constexpr std::size_t kLongestPath = 103;

struct Options {
  std::int64_t readTimeoutSeconds = 40;
  std::int64_t writeTimeoutSeconds = 10;
  char terminator = '\n';                      // ends the request and the reply
  std::int64_t maxResponseBytes = 16'777'216;  // without the terminator
  // From connecting to the end of the reply. None: a peer that always sends a little, or a
  // queue that always moves, may take as long as it likes.
  std::optional<double> wholeExchangeSeconds;
};

// Whether a reply came. None comes when the bridge cannot be reached, does not take the whole
// request, does not answer in time or at all, or answers with more than is allowed; and a
// bridge that a user serves who is not trusted is not sent a byte.
struct Outcome {
  bool answered = false;
  std::optional<uid_t> foreign_user;  // who serves the socket, when that is why
  // Why there is none, in the terms of errno: EACCES for another user's, ETIMEDOUT, ECONNRESET
  // from a bridge that hangs up instead of answering, EMSGSIZE for too large an answer.
  int error = 0;

  explicit operator bool() const { return answered; }
};

// The bytes of a reply, without its terminator.
struct Reply : Outcome {
  std::unique_ptr<char[]> bytes;
  std::size_t size = 0;

  [[nodiscard]] std::string_view view() const { return {bytes.get(), size}; }
  [[nodiscard]] std::span<char> text() { return {bytes.get(), size}; }
};

// Sends `request` (one JSON document without its terminator) to the bridge at
// `socket_path` and gives its reply up to the terminator. Never prints, never raises SIGPIPE.
// `look`, when given, sees a long reply while it arrives: all of it that is there, which stays
// where it is. Where no whole reply comes, what was seen is void.
[[nodiscard]] Reply exchange(std::string_view request, const std::string& socket_path,
                             const Options& options = {},
                             const std::function<void(std::span<char> so_far)>& look = {});

// The same exchange for a reply that need not be held: each piece is given away as it
// arrives. Where no whole reply comes, what was given away is void.
[[nodiscard]] Outcome stream(std::string_view request, const std::string& socket_path,
                             const std::function<void(std::string_view piece)>& take,
                             const Options& options = {});

// What is behind a socket.
struct Contact {
  int error = 0;  // of connecting; EAGAIN: a listener whose queue is full
  std::optional<uid_t> user;
  std::optional<pid_t> process;
  bool trusted = false;
};

// Connects and writes nothing; never waits.
[[nodiscard]] Contact contact(const std::string& socket_path);

// Whether somebody who is trusted listens on the socket, found out by contact.
[[nodiscard]] bool is_live(const std::string& socket_path);

}  // namespace qv::BridgeTransport
