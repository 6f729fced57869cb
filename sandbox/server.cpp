// One thread serves everybody, so it never waits for a single client: what a socket does not
// give or take at once is tried again when poll says that it would. A client asks, waits for
// its answer, and reads it; whoever dawdles at the first or the last is hung up on.

#include "server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "platform/sockets.h"

namespace qv::sandbox {

namespace {

constexpr std::chrono::seconds kPatience{10};
constexpr std::size_t kLargestRequest = std::size_t{16} << 20;
constexpr int kQueue = 64;                 // of clients that wait to be accepted
constexpr std::size_t kMostClients = 128;  // further ones wait to be accepted

void stop_blocking(const Descriptor& socket) {
  ::fcntl(socket.get(), F_SETFL, ::fcntl(socket.get(), F_GETFL) | O_NONBLOCK);
}

bool is_worth_another_try() { return errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK; }

}  // namespace

bool Server::listen(const std::string& path, Bridge bridge) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  Descriptor socket = platform::open_stream_socket();
  stop_blocking(socket);
  const auto* general = reinterpret_cast<const sockaddr*>(&address);
  const bool listening = ::bind(socket.get(), general, sizeof address) == 0 &&
                         ::chmod(path.c_str(), 0600) == 0 && ::listen(socket.get(), kQueue) == 0;
  if (listening) listeners_.push_back({std::move(socket), std::move(bridge)});
  return listening;
}

void Server::listen_as_this_process() {
  for (const Listener& each : listeners_) ::listen(each.socket.get(), kQueue);
}

void Server::serve() {
  watch();
  // What one asks may be what another one waits for, so all are looked at again after an answer.
  for (bool again = true; again;) {
    again = false;
    for (Client& client : clients_) again |= client.answer();
  }
  const auto now = Clock::now();
  std::erase_if(clients_, [&](const Client& client) {
    const bool late = client.stage != Stage::waits && now - client.since > kPatience;
    return late || client.stage == Stage::gone;
  });
}

void Server::watch() {
  constexpr int kMomentMilliseconds = 100;
  std::vector<pollfd> watched;
  for (const Client& client : clients_) {
    // Of one that waits only the end is news: it has said all that it had to say.
    const short news = client.stage == Stage::asks    ? POLLIN
                       : client.stage == Stage::reads ? POLLOUT
                                                      : short{0};
    watched.push_back({client.socket.get(), news, 0});
  }
  for (const Listener& each : listeners_) {
    watched.push_back({clients_.size() < kMostClients ? each.socket.get() : -1, POLLIN, 0});
  }
  ::poll(watched.data(), static_cast<nfds_t>(watched.size()), kMomentMilliseconds);
  auto seen = watched.begin();
  for (Client& client : clients_) {
    if ((seen++)->revents == 0) continue;
    if (client.stage == Stage::asks) {
      client.receive();
    } else if (client.stage == Stage::reads) {
      client.send();
    } else {
      client.stage = Stage::gone;
    }
  }
  for (const Listener& each : listeners_) {
    if ((seen++)->revents != 0) accept(each);
  }
}

void Server::accept(const Listener& listener) {
  Descriptor socket(::accept(listener.socket.get(), nullptr, nullptr));
  if (!socket.valid()) return;
  ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
  stop_blocking(socket);
  clients_.push_back({std::move(socket), &listener.bridge, Clock::now()});
  clients_.back().receive();
}

void Server::Client::enter(Stage next) {
  stage = next;
  since = Clock::now();
}

void Server::Client::receive() {
  std::array<char, 65536> buffer;
  const ssize_t count = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
  if (count < 0 && is_worth_another_try()) return;
  if (count <= 0 || bytes.size() > kLargestRequest) return enter(Stage::gone);
  const std::string_view fresh(buffer.data(), static_cast<std::size_t>(count));
  const std::size_t end = fresh.find('\n');
  bytes += fresh.substr(0, end);
  if (end != std::string_view::npos) enter(Stage::waits);
}

bool Server::Client::answer() {
  if (stage != Stage::waits) return false;
  auto reply = (*bridge)(bytes, since);
  if (!reply) return false;
  bytes = *std::move(reply) + "\n";
  enter(Stage::reads);
  send();
  return true;
}

void Server::Client::send() {
  const ssize_t count = ::send(socket.get(), bytes.data(), bytes.size(), platform::send_flags());
  if (count < 0 && is_worth_another_try()) return;
  bytes.erase(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  if (count <= 0 || bytes.empty()) enter(Stage::gone);
}

}  // namespace qv::sandbox
