#pragma once

// The practice app as a whole: its Threads, and which of them a terminal belongs to.

#include <deque>
#include <optional>
#include <string>

#include "instance.h"
#include "thread.h"

namespace qv::sandbox {

struct App {
  Instance instance;
  std::string token;
  std::chrono::seconds lease;
  std::deque<Thread> threads;
  std::size_t panes_opened = 0;

  // An app with one Thread.
  App(Instance where, std::string its_token, std::chrono::seconds its_lease);

  // Brings every Thread up to this moment.
  void advance();

  // A new Thread of this name, in which nobody sits yet.
  Thread& open_thread(const std::string& name);
  // A new pane of the Thread; an empty session is given one.
  Pane& open_pane(Thread& thread, const std::string& session, pid_t pid);
  // Takes the pane to another Thread. It comes with its name and nothing else.
  void move(Thread& from, Pane& pane, Thread& to);

  // The Thread to which a session belongs, the first one for a stranger's, and its pane there;
  // null for a stranger.
  struct Place {
    Thread& thread;
    Pane* pane;
  };
  [[nodiscard]] Place place_of(std::string_view session);
};

[[nodiscard]] std::string new_join_code();

inline constexpr const char* kWrongToken = "That is not the token of this app.";

// The two bridges to the app. A reply is absent while a poll is held.
[[nodiscard]] std::optional<std::string> answer_board(App& app, const std::string& text,
                                                      Clock::time_point received);
[[nodiscard]] std::optional<std::string> answer_notes(App& app, const std::string& text,
                                                      Clock::time_point received);

}  // namespace qv::sandbox
