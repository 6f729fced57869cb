#pragma once

#include <chrono>
#include <list>
#include <string>
#include <variant>
#include <vector>

#include "base/descriptor.h"

namespace qv::sandbox {

// A request that cannot be answered yet: it is asked again after every other request, and for
// the last time at `until`.
struct Hold {
  std::chrono::steady_clock::time_point until;
};
using Answer = std::variant<std::string, Hold>;

class Bridge {
 public:
  virtual ~Bridge() = default;
  // The reply to one request, without line feeds. `received` is when the request was whole.
  [[nodiscard]] virtual Answer answer(const std::string& request,
                                      std::chrono::steady_clock::time_point received) = 0;
};

// Serves bridges on their sockets, all on the caller's thread: no client, however slow or
// silent, keeps another one waiting.
class Server {
 public:
  // Listens at `path`, which is then the user's alone. False when it cannot.
  [[nodiscard]] bool listen(const std::string& path, Bridge& bridge);

  // Serves until `interrupt` can be read or the time has passed (forever when negative).
  void serve(int interrupt, int milliseconds);

 private:
  using TimePoint = std::chrono::steady_clock::time_point;

  struct Listener {
    Descriptor socket;
    Bridge* bridge;
  };
  struct Connection {
    Descriptor socket;
    Bridge* bridge;
    TimePoint since;      // when it was opened, then of its last progress
    std::string bytes{};  // what came in, then what goes out
    std::size_t sent = 0;
    enum class Stage { reading, held, writing, over } stage = Stage::reading;
    TimePoint until{};  // of a held request
  };

  void accept_from(const Listener& listener);
  void receive(Connection& connection);
  void answer(Connection& connection);
  void answer_held();
  void send(Connection& connection);
  void drop_silent();
  [[nodiscard]] int patience(int milliseconds) const;

  std::vector<Listener> listeners_;
  std::list<Connection> connections_;
};

}  // namespace qv::sandbox
