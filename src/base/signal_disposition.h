#pragma once

#include <signal.h>

namespace qv {

// The action `handler` for a signal: a function, SIG_IGN or SIG_DFL.
[[nodiscard]] inline struct sigaction signal_action(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  return action;
}

[[nodiscard]] inline bool is_ignored(const struct sigaction& action) {
  return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN;
}

// One signal under another disposition for as long as this object lives.
class SignalDisposition {
 public:
  SignalDisposition(int signal, void (*handler)(int)) : signal_(signal) {
    const struct sigaction action = signal_action(handler);
    ::sigaction(signal, &action, &before_);
  }
  ~SignalDisposition() { restore(); }
  SignalDisposition(const SignalDisposition&) = delete;
  SignalDisposition& operator=(const SignalDisposition&) = delete;

  // Puts the disposition back now; what the process becomes by exec inherits it.
  void restore() const { ::sigaction(signal_, &before_, nullptr); }
  [[nodiscard]] bool was_ignored() const { return is_ignored(before_); }

 private:
  int signal_;
  struct sigaction before_ {};
};

}  // namespace qv
