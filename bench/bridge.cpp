// A bridge that answers every request with the bytes of one file, so that only the client
// is measured: bench_bridge SOCKET REPLY-FILE. A request that begins like HTTP is answered
// like HTTP, for curl.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/descriptor.h"
#include "base/files.h"
#include "base/io.h"

namespace {

// The request up to the end of the line, or of the headers.
std::string request_on(const qv::Descriptor& connection) {
  std::string request;
  char bytes[4096];
  for (;;) {
    const ssize_t count = ::read(connection.get(), bytes, sizeof bytes);
    if (count <= 0) return request;
    request.append(bytes, static_cast<std::size_t>(count));
    if (request.find(request.starts_with('{') ? "\n" : "\r\n\r\n") != std::string::npos) {
      return request;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a client that leaves early is its own affair
  const auto reply = argc == 3 ? qv::files::read(argv[2]) : std::nullopt;
  const qv::Descriptor listener(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (!reply || std::strlen(argv[1]) >= sizeof address.sun_path) return 2;
  std::strcpy(address.sun_path, argv[1]);
  ::unlink(argv[1]);
  if (::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener.get(), 64) != 0) {
    std::perror("bench_bridge");
    return 3;
  }
  const std::string line = *reply + "\n";
  const std::string http =
      "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + std::to_string(reply->size()) +
      "\r\n\r\n" + *reply;
  for (;;) {
    const qv::Descriptor connection(::accept(listener.get(), nullptr, nullptr));
    const std::string request = request_on(connection);
    static_cast<void>(qv::io::write_all(connection.get(), request.starts_with('{') ? line : http));
  }
}
