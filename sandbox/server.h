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

  // Has the system name this process to whoever asks who listens, not the one that forked it.
  void listen_as_this_process();

  // Waits a moment for something to happen, and serves what did.
  void serve();

 private:
  struct Listener {
    Descriptor socket;
    Bridge bridge;
  };
  enum class Stage { asks, waits, reads, gone };
  struct Client {
    Descriptor socket;
    const Bridge* bridge;
    Clock::time_point since;  // when this stage of it began
    Stage stage = Stage::asks;
    std::string bytes{};  // the request as far as it came, then what is still to be sent

    void enter(Stage next);
    void receive();
    void send();
    // Gives one that waits its answer. False when it does not wait, or there is none yet.
    [[nodiscard]] bool answer();
  };

  void watch();
  void accept(const Listener& listener);

  std::list<Listener> listeners_;
  std::vector<Client> clients_;
};

}  // namespace qv::sandbox
