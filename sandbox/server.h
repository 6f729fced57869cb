#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "base/descriptor.h"

namespace qv::sandbox {

// Serves bridges on their sockets, all on the caller's thread.
class Server {
 public:
  using Clock = std::chrono::steady_clock;

  // The reply to one request, without line feeds. While there is none yet it is asked again,
  // always with the moment at which the request was whole.
  using Bridge = std::function<std::optional<std::string>(const std::string& request,
                                                          Clock::time_point received)>;

  // Listens at `path`, which is then the user's alone. False when it cannot.
  [[nodiscard]] bool listen(const std::string& path, Bridge bridge);

  // Waits a moment for something to happen, and serves what did.
  void serve();

 private:
  struct Listener {
    Descriptor socket;
    Bridge bridge;
  };
  struct Exchange {
    Descriptor socket;
    const Bridge* bridge;
    std::string request;
    Clock::time_point received;
  };

  std::list<Listener> listeners_;
  std::vector<Exchange> pending_;
};

}  // namespace qv::sandbox
