// The pump stands between the tool and whoever reads its output, and must change nothing
// about either. A reader that goes away closes the tool's stream, so that the tool meets
// the broken pipe itself. A tool that ends while a daemon it started keeps the streams
// open has ended all the same.

#include "builds/pump.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>

#include "base/io.h"
#include "platform/clock.h"

namespace qv::build {

namespace {

constexpr double kSilenceAfterEnd = 2;  // seconds

class Pump {
 public:
  Pump(ToolProcess& tool, BuildLogWriter& log, const std::function<void()>& log_lost)
      : tool_(tool), log_(log), log_lost_(log_lost) {}

  void run();

 private:
  [[nodiscard]] bool is_open() const { return tool_.output.valid() || tool_.error.valid(); }
  // Milliseconds to wait for output, for ever (-1) while the tool lives.
  [[nodiscard]] int patience() const;
  void notice_end();
  void move_chunk(Descriptor& from, int stream);

  ToolProcess& tool_;
  BuildLogWriter& log_;
  const std::function<void()>& log_lost_;
  bool tool_ended_ = false;
  bool logging_ = true;
  double last_sound_ = 0;  // since the tool ended
  std::array<char, BuildLog::kLargestPayload> chunk_;
};

void Pump::run() {
  while (is_open()) {
    // poll leaves out the negative descriptors of closed streams.
    pollfd ready[] = {{tool_.output.get(), POLLIN, 0},
                      {tool_.error.get(), POLLIN, 0},
                      {tool_ended_ ? -1 : tool_.ended_signal.get(), POLLIN, 0}};
    const int count = ::poll(ready, std::size(ready), patience());
    if (count < 0) continue;
    if (count == 0) return;  // silence after the end
    if (ready[2].revents != 0) notice_end();
    if (ready[0].revents != 0) move_chunk(tool_.output, STDOUT_FILENO);
    if (ready[1].revents != 0) move_chunk(tool_.error, STDERR_FILENO);
  }
}

int Pump::patience() const {
  if (!tool_ended_) return -1;
  const double left = kSilenceAfterEnd - (platform::waking_seconds() - last_sound_);
  return static_cast<int>(std::ceil(std::max(left, 0.0) * 1000));
}

void Pump::notice_end() {
  char bytes[64];
  while (::read(tool_.ended_signal.get(), bytes, sizeof bytes) > 0) {
  }
  tool_ended_ = tool_.has_ended();
  last_sound_ = platform::waking_seconds();
}

void Pump::move_chunk(Descriptor& from, int stream) {
  const ssize_t count = ::read(from.get(), chunk_.data(), chunk_.size());
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
  if (count <= 0) {
    from.reset();
    return;
  }
  const std::string_view bytes(chunk_.data(), static_cast<std::size_t>(count));
  if (!io::write_all(stream, bytes)) from.reset();
  if (logging_ && !log_.append_output(stream, bytes)) {
    logging_ = false;
    log_lost_();
  }
  if (tool_ended_) last_sound_ = platform::waking_seconds();
}

}  // namespace

void pump(ToolProcess& tool, BuildLogWriter& log, const std::function<void()>& log_lost) {
  Pump(tool, log, log_lost).run();
}

}  // namespace qv::build
