#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "board/request.h"
#include "command/exit_code.h"
#include "command/pane_state.h"
#include "waiting/wait_options.h"

namespace qv::waiting {

// What a wait asks of the world. Times are in seconds.
class WaitWorld {
 public:
  virtual ~WaitWorld() = default;

  virtual double monotonic() = 0;   // goes on while the machine sleeps
  virtual double wall_clock() = 0;  // since 1970
  virtual void sleep(double seconds) = 0;

  virtual bool parent_has_gone() = 0;
  virtual bool reader_has_gone() = 0;  // nobody can read standard output any more
  virtual bool socket_exists() = 0;

  // The board's answer; nothing when it did not come whole within `seconds`.
  virtual std::optional<std::string> exchange(const TeamworkRequest& request, double seconds) = 0;

  virtual std::int64_t cursor() = 0;
  virtual void save_cursor(std::int64_t rev) = 0;

  // False when the text could not be written.
  [[nodiscard]] virtual bool out(std::string_view text) = 0;
  virtual void err(std::string_view text) = 0;
};

// Waits until the board moves, or something ends the wait.
[[nodiscard]] ExitCode wait(const WaitOptions& options, WaitWorld& world);

}  // namespace qv::waiting
