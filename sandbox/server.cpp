#include "server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/sockets.h"

namespace qv::sandbox {

namespace {

// A client sends its request at once and reads its reply at once. One that does not must not
// keep the others waiting for longer than this.
constexpr timeval kPatience{.tv_sec = 1, .tv_usec = 0};

// The bytes up to the line feed; absent when the client fails to send them.
std::optional<std::string> read_line(const Descriptor& socket) {
  std::string line;
  for (;;) {
    std::array<char, 65536> buffer;
    const ssize_t count = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return std::nullopt;
    const std::string_view fresh(buffer.data(), static_cast<std::size_t>(count));
    line += fresh.substr(0, fresh.find('\n'));
    if (fresh.find('\n') != std::string_view::npos) return line;
  }
}

void send_all(const Descriptor& socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket.get(), bytes.data(), bytes.size(), platform::send_flags());
    if (count < 0 && errno != EINTR) return;
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
}

}  // namespace

bool Server::listen(const std::string& path, Bridge bridge) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  Descriptor socket = platform::open_stream_socket();
  const auto* general = reinterpret_cast<const sockaddr*>(&address);
  const bool listening = ::bind(socket.get(), general, sizeof address) == 0 &&
                         ::chmod(path.c_str(), 0600) == 0 && ::listen(socket.get(), 64) == 0;
  if (listening) listeners_.push_back({std::move(socket), std::move(bridge)});
  return listening;
}

void Server::serve() {
  constexpr int kMomentMilliseconds = 100;
  std::vector<pollfd> watched;
  for (const Listener& each : listeners_) watched.push_back({each.socket.get(), POLLIN, 0});
  ::poll(watched.data(), static_cast<nfds_t>(watched.size()), kMomentMilliseconds);
  auto listener = listeners_.begin();
  for (const pollfd& each : watched) {
    const Bridge& bridge = (listener++)->bridge;
    if (each.revents == 0) continue;
    Descriptor socket(::accept(each.fd, nullptr, nullptr));
    ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
    for (const int direction : {SO_RCVTIMEO, SO_SNDTIMEO}) {
      ::setsockopt(socket.get(), SOL_SOCKET, direction, &kPatience, sizeof kPatience);
    }
    auto request = read_line(socket);
    if (request) {
      pending_.push_back({std::move(socket), &bridge, *std::move(request), Clock::now()});
    }
  }
  // What one asks may be what another one waits for, so all are looked at again after an answer.
  const auto answered = [](const Exchange& exchange) {
    const auto reply = (*exchange.bridge)(exchange.request, exchange.received);
    if (reply) send_all(exchange.socket, *reply + "\n");
    return reply.has_value();
  };
  while (std::erase_if(pending_, answered) > 0) {
  }
}

}  // namespace qv::sandbox
