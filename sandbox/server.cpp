#include "server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "platform/sockets.h"

namespace qv::sandbox {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargestRequest = std::size_t{16} << 20;
constexpr std::chrono::seconds kSilence{30};
// While somebody waits, leases that lapse and terminals that close have to be noticed.
constexpr int kTickMilliseconds = 1000;

void make_polite(const Descriptor& socket) {
  ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
  ::fcntl(socket.get(), F_SETFL, O_NONBLOCK);
}

bool would_block() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

}  // namespace

bool Server::listen(const std::string& path, Bridge& bridge) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  Descriptor socket = platform::open_stream_socket();
  if (!socket.valid()) return false;
  make_polite(socket);
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return false;
  }
  if (::chmod(path.c_str(), 0600) != 0 || ::listen(socket.get(), 64) != 0) return false;
  listeners_.push_back({std::move(socket), &bridge});
  return true;
}

void Server::serve(int interrupt, int milliseconds) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    std::vector<pollfd> watched{{interrupt, POLLIN, 0}};
    for (const Listener& listener : listeners_)
      watched.push_back({listener.socket.get(), POLLIN, 0});
    std::vector<Connection*> active;
    for (Connection& connection : connections_) {
      // A held request has been read whole; whether its sender is still there shows when it is
      // answered.
      if (connection.stage == Connection::Stage::held) continue;
      const bool reading = connection.stage == Connection::Stage::reading;
      watched.push_back(
          {connection.socket.get(), static_cast<short>(reading ? POLLIN : POLLOUT), 0});
      active.push_back(&connection);
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    const int time =
        milliseconds < 0 ? -1 : static_cast<int>(std::max<std::int64_t>(left.count(), 0));
    ::poll(watched.data(), static_cast<nfds_t>(watched.size()), patience(time));

    if (watched[0].revents != 0) return;
    for (std::size_t i = 0; i < active.size(); ++i) {
      if (watched[1 + listeners_.size() + i].revents == 0) continue;
      Connection& connection = *active[i];
      connection.stage == Connection::Stage::reading ? receive(connection) : send(connection);
    }
    for (std::size_t i = 0; i < listeners_.size(); ++i) {
      if (watched[1 + i].revents != 0) accept_from(listeners_[i]);
    }
    answer_held();
    drop_silent();
    if (milliseconds >= 0 && Clock::now() >= deadline) return;
  }
}

// How long poll may sleep: not past a held request's end, nor the next tick.
int Server::patience(int milliseconds) const {
  std::int64_t shortest = milliseconds < 0 ? INT64_MAX : milliseconds;
  for (const Connection& connection : connections_) {
    shortest = std::min<std::int64_t>(shortest, kTickMilliseconds);
    if (connection.stage != Connection::Stage::held) continue;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(connection.until - Clock::now());
    shortest = std::min(shortest, std::max<std::int64_t>(left.count(), 0));
  }
  return shortest == INT64_MAX ? -1 : static_cast<int>(shortest);
}

void Server::accept_from(const Listener& listener) {
  for (;;) {
    Descriptor socket(::accept(listener.socket.get(), nullptr, nullptr));
    if (!socket.valid()) return;
    make_polite(socket);
    connections_.push_back({std::move(socket), listener.bridge, Clock::now()});
  }
}

void Server::receive(Connection& connection) {
  std::array<char, 65536> buffer;
  const ssize_t count = ::recv(connection.socket.get(), buffer.data(), buffer.size(), 0);
  if (count < 0 && would_block()) return;
  const std::string_view fresh(buffer.data(),
                               static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  const std::size_t end = fresh.find('\n');
  connection.bytes += fresh.substr(0, end);
  if (!fresh.empty()) connection.since = Clock::now();
  const bool whole = end != std::string_view::npos || (count == 0 && !connection.bytes.empty());
  if (!whole && (count <= 0 || connection.bytes.size() > kLargestRequest)) {
    connection.stage = Connection::Stage::over;
  } else if (whole) {
    answer(connection);
  }
}

void Server::answer(Connection& connection) {
  Answer answer = connection.bridge->answer(connection.bytes, connection.since);
  if (const Hold* hold = std::get_if<Hold>(&answer)) {
    connection.stage = Connection::Stage::held;
    connection.until = hold->until;
    return;
  }
  connection.bytes = std::move(std::get<std::string>(answer)) + '\n';
  connection.stage = Connection::Stage::writing;
  connection.since = Clock::now();
  send(connection);
}

void Server::answer_held() {
  for (Connection& connection : connections_) {
    if (connection.stage == Connection::Stage::held) answer(connection);
  }
}

void Server::send(Connection& connection) {
  while (connection.sent < connection.bytes.size()) {
    const ssize_t count = ::send(connection.socket.get(), connection.bytes.data() + connection.sent,
                                 connection.bytes.size() - connection.sent, platform::send_flags());
    if (count < 0 && would_block()) return;
    if (count <= 0) break;
    connection.sent += static_cast<std::size_t>(count);
    connection.since = Clock::now();
  }
  connection.stage = Connection::Stage::over;
}

void Server::drop_silent() {
  connections_.remove_if([](const Connection& connection) {
    const bool silent =
        connection.stage != Connection::Stage::held && Clock::now() - connection.since > kSilence;
    return silent || connection.stage == Connection::Stage::over;
  });
}

}  // namespace qv::sandbox
