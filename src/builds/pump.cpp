// The pump stands between the tool and whoever reads its output, and must change nothing
// about either. It never waits for the pane: the log takes what the tool writes, and the
// outlet shows it from there. Only when there is no log any more does the tool wait for the
// pane's readers, as it would without us.
//
// A reader that goes away closes the tool's stream, so that the tool meets the broken pipe
// itself. What it wrote is cut off then and must be nobody else's result, so the log is given
// up first. A tool that ends while a daemon it started keeps the streams open has ended all
// the same.

#include "builds/pump.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/io.h"
#include "platform/clock.h"

namespace qv::build {

namespace {

constexpr double kSilenceAfterEnd = 2;  // seconds
constexpr double kBetweenLooks = 1;     // whether the readers are still there

class Pump {
 public:
  Pump(ToolProcess& tool, BuildLogWriter& log, Outlet& outlet, PaneOutput& pane,
       RunningLease& lease)
      : tool_(tool), log_(log), outlet_(outlet), pane_(pane), lease_(lease) {}

  void run();

 private:
  [[nodiscard]] bool is_open() const { return tool_.output.valid() || tool_.error.valid(); }
  // Milliseconds until there is something to do without any event.
  [[nodiscard]] int patience() const;
  [[nodiscard]] bool silence_is_over() const;
  void notice_end();
  void leave_streams_nobody_reads();
  void move_chunk(Descriptor& from, int stream);
  void give_up_log();
  void end_build();

  ToolProcess& tool_;
  BuildLogWriter& log_;
  Outlet& outlet_;
  PaneOutput& pane_;
  RunningLease& lease_;
  bool tool_ended_ = false;
  bool logging_ = true;
  bool over_ = false;
  double next_look_ = platform::waking_seconds() + kBetweenLooks;
  double last_sound_ = 0;  // since the tool ended
};

void Pump::run() {
  while (is_open()) {
    const bool reading = logging_ || outlet_.takes_more();
    // poll leaves out the negative descriptors of closed streams.
    pollfd ready[] = {{reading ? tool_.output.get() : -1, POLLIN, 0},
                      {reading ? tool_.error.get() : -1, POLLIN, 0},
                      {tool_.notice().descriptor(), POLLIN, 0},
                      {outlet_.changed().descriptor(), POLLIN, 0}};
    const int count = ::poll(ready, std::size(ready), patience());
    if (count < 0) {  // nobody says what is ready, so all of it is asked
      for (pollfd& one : ready) one.revents = POLLIN;
    }
    if (!reading) last_sound_ = platform::waking_seconds();
    if (count <= 0 && silence_is_over()) break;
    if (ready[2].revents != 0) notice_end();
    if (ready[3].revents != 0) outlet_.changed().take();
    leave_streams_nobody_reads();
    if (ready[0].revents != 0) move_chunk(tool_.output, STDOUT_FILENO);
    if (ready[1].revents != 0) move_chunk(tool_.error, STDERR_FILENO);
  }
  tool_.output.reset();
  tool_.error.reset();
  tool_.wait_until_ended();
  end_build();
}

int Pump::patience() const {
  double until = next_look_;
  if (tool_ended_) until = std::min(until, last_sound_ + kSilenceAfterEnd);
  const double left = until - platform::waking_seconds();
  return left > 0 ? static_cast<int>(left * 1000) + 1 : 0;
}

bool Pump::silence_is_over() const {
  return tool_ended_ && platform::waking_seconds() - last_sound_ >= kSilenceAfterEnd;
}

void Pump::notice_end() {
  tool_.notice().take();
  if (tool_ended_ || !tool_.has_ended()) return;
  tool_ended_ = true;
  last_sound_ = platform::waking_seconds();
  if (!logging_) end_build();
}

void Pump::leave_streams_nobody_reads() {
  const double now = platform::waking_seconds();
  const bool look = now >= next_look_;
  if (look) next_look_ = now + kBetweenLooks;
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    Descriptor& from = stream == STDOUT_FILENO ? tool_.output : tool_.error;
    if (!from.valid()) continue;
    if (!pane_.reader_has_gone(stream) && !(look && io::reader_has_gone(stream))) continue;
    give_up_log();
    from.reset();
  }
}

void Pump::move_chunk(Descriptor& from, int stream) {
  if (!from.valid() || !(logging_ || outlet_.takes_more())) return;
  const auto space = outlet_.space();
  const ssize_t count = ::read(from.get(), space.data(), space.size());
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
  if (count < 0) {  // what is lost here must not pass for the whole
    pane_.lose(errno);
    give_up_log();
  }
  if (count <= 0) {
    from.reset();
    return;
  }
  const std::string_view bytes(space.data(), static_cast<std::size_t>(count));
  const bool logged = logging_ && log_.append_output(stream, bytes);
  outlet_.pass(stream, bytes.size(), log_.size());
  if (!logged) give_up_log();
  if (tool_ended_) last_sound_ = platform::waking_seconds();
}

void Pump::give_up_log() {
  if (!std::exchange(logging_, false)) return;
  log_.close();
  lease_.give_up_log();
  if (tool_ended_) end_build();
}

void Pump::end_build() {
  if (std::exchange(over_, true)) return;
  log_.append_exit(tool_.exit_value());
  log_.close();
  lease_.end();
}

}  // namespace

void pump(ToolProcess& tool, BuildLogWriter& log, Outlet& outlet, PaneOutput& pane,
          RunningLease& lease) {
  Pump(tool, log, outlet, pane, lease).run();
}

}  // namespace qv::build
