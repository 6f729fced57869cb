// Every failure here means the same to the caller: no reply. What must not happen is a
// reply lost to a set-up call that failed without harm, so time-outs that cannot be set
// and a shutdown of a peer that has already answered and gone are passed over, and only
// what the exchange really needs can end it.

#include "bridge/transport.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "base/descriptor.h"
#include "base/text.h"
#include "base/trace.h"
#include "bridge/trust.h"
#include "platform/clock.h"
#include "platform/peer.h"
#include "platform/sockets.h"

namespace qv::BridgeTransport {

namespace {

static_assert(sizeof(sockaddr_un::sun_path) > kLongestPath);

// False with errno set.
bool try_to_connect(const Descriptor& connection, const std::string& path) {
  if (path.size() > kLongestPath || path.find('\0') != std::string::npos) {
    errno = ENAMETOOLONG;
    return false;
  }
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  while (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
         0) {
    if (errno == EISCONN) break;
    if (errno != EINTR) return false;
  }
  return true;
}

bool connect_to(const Descriptor& connection, const std::string& path) {
  const bool connected = try_to_connect(connection, path);
  trace::step("connect ", path, ": ", connected ? "done" : std::strerror(errno));
  return connected;
}

// Whether the user who serves a connection is one that is not talked to. Whom the system
// does not name is nobody we know.
bool is_foreign(std::optional<uid_t> server) {
  if (server && trust::covers(*server)) return false;
  trace::step("served by another user, ", server ? std::to_string(*server) : "who is not told");
  return true;
}

void set_timeout(const Descriptor& connection, int option, double seconds) {
  timeval limit{};
  limit.tv_sec = static_cast<time_t>(seconds);
  limit.tv_usec = static_cast<suseconds_t>((seconds - static_cast<double>(limit.tv_sec)) * 1e6);
  if (limit.tv_sec == 0 && limit.tv_usec == 0) limit.tv_usec = 1;  // zero would be no limit
  ::setsockopt(connection.get(), SOL_SOCKET, option, &limit, sizeof limit);
}

// The time an exchange may take. Where the whole of it is limited, no single call may block
// for longer than what is left.
class Patience {
 public:
  explicit Patience(const Options& options) : options_(options) {
    if (options.wholeExchangeSeconds) {
      end_ = platform::monotonic_seconds() + *options.wholeExchangeSeconds;
    }
  }

  void begin(const Descriptor& connection) const {
    for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO}) {
      set_timeout(connection, option, usual(option));
    }
  }

  // Before each call that may block on this time-out; false with errno set when no time is
  // left for it.
  [[nodiscard]] bool allows(const Descriptor& connection, int option) const {
    if (!end_) return true;
    const double left = *end_ - platform::monotonic_seconds();
    if (left > 0) set_timeout(connection, option, std::min(usual(option), left));
    if (left <= 0) errno = ETIMEDOUT;
    return left > 0;
  }

 private:
  [[nodiscard]] double usual(int option) const {
    return static_cast<double>(option == SO_RCVTIMEO ? options_.readTimeoutSeconds
                                                     : options_.writeTimeoutSeconds);
  }

  const Options& options_;
  std::optional<double> end_;
};

// False with errno set, like all that follows.
bool send_all(const Descriptor& connection, const Patience& patience, std::string_view bytes) {
  const std::size_t size = bytes.size();
  while (!bytes.empty()) {
    if (!patience.allows(connection, SO_SNDTIMEO)) return false;
    const ssize_t count =
        ::send(connection.get(), bytes.data(), bytes.size(), platform::send_flags());
    if (count > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
  trace::step("sent ", size, " bytes");
  return true;
}

void trace_first(ssize_t count) { trace::step("first ", count, " bytes of a reply"); }

void trace_end(const Outcome& outcome, std::size_t size) {
  if (outcome) {
    trace::step("read ", size, " bytes");
  } else {
    trace::step("no reply: ", std::strerror(outcome.error));
  }
}

// A call that would block has waited for as long as it may.
int cause(int error) { return error == EAGAIN ? ETIMEDOUT : error; }

Reply no_reply(int error) {
  Reply none;
  none.error = cause(error);
  return none;
}

std::unique_ptr<char[]> moved(const char* bytes, std::size_t size, std::size_t capacity) {
  std::unique_ptr<char[]> larger(new char[capacity]);
  std::copy(bytes, bytes + size, larger.get());
  return larger;
}

// Most replies are short, and need no more memory than they take. For a long one the buffer is
// made large enough for any, of which the system hands out only what is really written.
Reply receive(const Descriptor& connection, const Patience& patience, const Options& options,
              const std::function<void(std::span<char>)>& look) {
  constexpr std::size_t kUsualSize = 64 * 1024;
  constexpr std::size_t kLongSize = 1024 * 1024;
  const auto limit = static_cast<std::size_t>(options.maxResponseBytes);
  Reply reply;
  char short_reply[4096];
  char* bytes = short_reply;
  std::size_t capacity = sizeof short_reply;
  for (;;) {
    if (reply.size == capacity) {
      capacity = capacity < kUsualSize  ? kUsualSize
                 : capacity < kLongSize ? kLongSize
                                        : limit + kUsualSize;
      reply.bytes = moved(bytes, reply.size, capacity);
      bytes = reply.bytes.get();
    }
    if (!patience.allows(connection, SO_RCVTIMEO)) return no_reply(errno);
    char* const start = bytes + reply.size;
    const ssize_t count = ::recv(connection.get(), start, capacity - reply.size, 0);
    if (count < 0) {
      if (errno == EINTR) continue;
      return no_reply(errno);
    }
    if (reply.size == 0) trace_first(count);
    const std::string_view read(start, static_cast<std::size_t>(count));
    const std::size_t end = text::find_byte(read, options.terminator);
    reply.size += std::min(end, read.size());
    if (reply.size > limit) return no_reply(EMSGSIZE);
    if (count == 0 && reply.size == 0) return no_reply(ECONNRESET);
    reply.answered = count == 0 || end != std::string_view::npos;
    if (!reply.answered) {
      if (look && reply.bytes && capacity > limit) look(reply.text());
      continue;
    }
    if (bytes == short_reply) reply.bytes = moved(bytes, reply.size, reply.size);
    return reply;
  }
}

// 0, or why there is no reply. `used` counts the bytes.
int receive_in_pieces(const Descriptor& connection, const Patience& patience,
                      const Options& options, const std::function<void(std::string_view)>& take,
                      std::size_t& used) {
  const auto limit = static_cast<std::size_t>(options.maxResponseBytes);
  char buffer[64 * 1024];
  for (;;) {
    if (!patience.allows(connection, SO_RCVTIMEO)) return cause(errno);
    const ssize_t count = ::recv(connection.get(), buffer, sizeof buffer, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return cause(errno);
    if (used == 0) trace_first(count);
    const std::string_view read(buffer, static_cast<std::size_t>(count));
    const std::size_t end = text::find_byte(read, options.terminator);
    const std::string_view piece = read.substr(0, end);
    used += piece.size();
    if (used > limit) return EMSGSIZE;
    if (count == 0 && used == 0) return ECONNRESET;
    take(piece);
    if (count == 0 || end != std::string_view::npos) return 0;
  }
}

Descriptor not_asked(Outcome& why, int error) {
  why.error = cause(error);
  return {};
}

// A connection on which the whole request was sent; not valid on failure, of which `why`
// says what a user has to know.
Descriptor asked(std::string_view request, const std::string& socket_path, const Patience& patience,
                 const Options& options, Outcome& why) {
  if (socket_path.empty()) return not_asked(why, ENOENT);
  Descriptor connection = platform::open_stream_socket();
  if (!connection.valid()) return not_asked(why, errno);
  patience.begin(connection);
  const bool connected =
      patience.allows(connection, SO_SNDTIMEO) && connect_to(connection, socket_path);
  if (!connected) return not_asked(why, errno);
  const auto server = platform::peer_user(connection);
  if (is_foreign(server)) {
    why.foreign = true;
    why.foreign_user = server;
    return not_asked(why, EACCES);
  }
  const bool sent = send_all(connection, patience, std::string(request) + options.terminator);
  if (!sent) return not_asked(why, errno);
  ::shutdown(connection.get(), SHUT_WR);
  return connection;
}

}  // namespace

Reply exchange(std::string_view request, const std::string& socket_path, const Options& options,
               const std::function<void(std::span<char>)>& look) {
  const Patience patience(options);
  Reply reply;
  const Descriptor connection = asked(request, socket_path, patience, options, reply);
  if (connection.valid()) reply = receive(connection, patience, options, look);
  trace_end(reply, reply.size);
  return reply;
}

Outcome stream(std::string_view request, const std::string& socket_path,
               const std::function<void(std::string_view)>& take, const Options& options) {
  const Patience patience(options);
  Outcome outcome;
  std::size_t used = 0;
  const Descriptor connection = asked(request, socket_path, patience, options, outcome);
  if (connection.valid()) {
    outcome.error = receive_in_pieces(connection, patience, options, take, used);
    outcome.answered = outcome.error == 0;
  }
  trace_end(outcome, used);
  return outcome;
}

Contact contact(const std::string& socket_path) {
  const Descriptor connection = platform::open_stream_socket();
  if (!connection.valid()) return {.error = errno};
  ::fcntl(connection.get(), F_SETFL, O_NONBLOCK);
  if (!connect_to(connection, socket_path)) return {.error = errno};
  const auto user = platform::peer_user(connection);
  return {
      .user = user, .process = platform::peer_process(connection), .trusted = !is_foreign(user)};
}

bool is_live(const std::string& socket_path) {
  const Contact found = contact(socket_path);
  return found.trusted || found.error == EAGAIN;  // a full queue: busy, not gone
}

}  // namespace qv::BridgeTransport
