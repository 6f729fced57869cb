#pragma once

#include <signal.h>
#include <sys/types.h>

#include <string>

#include "base/signal_disposition.h"

// What signals do to a coordinator, and what its tool must never notice of that.
namespace qv::build {

// The signals that ask a build to stop.
inline constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// Remembers the signal mask and dispositions this process was started with, and settles
// those that would end a coordinator in mid-work: a reader that went away and a file
// grown too large become errors of the write, and children are always there to be asked
// for. One object, made before any other signal is touched.
class CallerSignals {
 public:
  CallerSignals();
  ~CallerSignals() { restore(); }
  CallerSignals(const CallerSignals&) = delete;
  CallerSignals& operator=(const CallerSignals&) = delete;

  // Puts mask and dispositions back; to be called last before the process is replaced.
  void restore() const;

  [[nodiscard]] const sigset_t& mask() const { return mask_; }
  // The signals that a child has to get back at their default action. (One the caller
  // ignored stays ignored across exec by itself; only an ignored SIGCHLD is not passed on.)
  [[nodiscard]] const sigset_t& reset() const { return reset_; }

 private:
  sigset_t mask_;
  sigset_t reset_;
  SignalDisposition broken_pipe_{SIGPIPE, SIG_IGN};
  SignalDisposition file_size_{SIGXFSZ, SIG_IGN};
  SignalDisposition child_{SIGCHLD, SIG_DFL};
};

// Holds back the stop signals and the terminal's stop key while it exists.
class SignalsHeld {
 public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t before_;
};

// Removes the file that was named for a stop, now. Needs no memory.
void remove_file();

// From now on a stop signal that the caller did not ignore removes the file and then ends
// this process as it would have anyway.
void remove_file_on_stop(const std::string& path);

// From now on the stop signals go to the process `pid`, and every end of a child makes
// the descriptor `wake` readable at its other end.
void forward_stop_signals(pid_t pid, int wake);

// The forwarding ends, since the process is gone: a stop signal does to this one what it did
// before.
void stop_forwarding();

}  // namespace qv::build
