#pragma once

// A Thread of the practice app: who sits at it, its tickets, debates and notes, and the log of
// everything that moved. What is the same for every reader is kept in the very records that
// are sent; seats are named by fingerprint throughout.
//
// Nothing is ever sent to a pane. A move is an event with a revision and a list of those it
// wakes; whoever asks what happened since a revision is answered from the log, as often as it
// asks. So a waiter that dies loses nothing, and no delivery has to be kept track of.

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "board/response.h"
#include "notes/response.h"
#include "platform/process_watch.h"

namespace qv::sandbox {

using Clock = std::chrono::steady_clock;

struct Wake {
  std::string fingerprint;
  TeamworkWakeReason reason;
};

struct Event : TeamworkChange {
  std::int64_t rev = 0;
  std::string actor;  // empty when no seat did it
  std::vector<Wake> wakes;
};

// A place on the roster. It is kept by doing something, or by waiting.
struct Seat {
  Clock::time_point lease_until{};
  Clock::time_point waiting_until{};  // a waiting command has spoken for it until then
  bool warned = false;                // that the lease is about to lapse
};

struct Letter {
  std::int64_t rev = 0;
  Clock::time_point left;
  TeamworkSquadMessage message;
};

// Something that request_hands may start, or that somebody suggests for it.
struct Helper : TeamworkHelper {
  std::string command;
  std::string suggested_by;  // whoever wants it; empty when the person thought of it
  std::string reason;
};

// How the helper at a terminal came to be there.
struct Hands {
  std::string helper;    // its name
  std::string asked_by;  // a fingerprint
  Clock::time_point since;
  std::string output{};         // the file of what it prints
  std::optional<int> status{};  // that its process ended with
  std::optional<Clock::time_point> stopped{};
};

// A terminal, or an agent from outside. Its handle and fingerprint stay with it, seat or none;
// its id is its session, and empty once it is closed or in another Thread.
struct Pane : TeamworkAgent {
  std::string secret;  // what readmits an agent from outside; empty for a terminal
  pid_t pid = 0;       // a terminal's process
  std::optional<Hands> hands;
  std::optional<platform::ProcessWatch> watch;
  std::optional<Seat> seat;
  std::vector<Letter> inbox;

  [[nodiscard]] bool has_role(std::string_view wanted) const {
    return !wanted.empty() && text::equal_ignoring_case(role.value_or(""), wanted);
  }
};

struct Ticket : TeamworkTask {
  std::string filed_by;
  std::string reports_to;  // whom its result is owed to; may be empty
  std::string blocked_by;
  std::string release_asked_by;
  std::string review_asked_by;
  std::set<std::string> holders;   // whoever holds it or held it
  std::set<std::string> mentions;  // who was named and has not answered

  [[nodiscard]] bool finished() const { return state == "done" || state == "rejected"; }
};

struct Revision {
  std::int64_t number = 0;
  std::string author;
  std::string why;
  double at = 0;          // seconds since 1970
  std::string milestone;  // empty unless this revision was handed off
  std::string content;
};

// A note always has a revision; the last one is what it says.
struct Note : MCPNoteSummary {
  std::vector<Revision> revisions;
  std::string lock_reason;
};

struct Thread {
  std::string tag;
  std::chrono::seconds lease;  // how long a seat lasts without a sign of life
  TeamworkPlan plan;
  std::string join_code;   // admits the next agent from outside
  std::deque<Pane> panes;  // those that are gone stay, for the names they left behind
  std::vector<Helper> helpers;
  std::vector<Helper> suggestions;
  std::deque<Ticket> tickets;
  std::int64_t last_ticket = 0;
  std::deque<TeamworkDiscussion> debates;
  std::deque<Note> notes;
  std::vector<std::string> notebooks{"Working notes"};  // a new note goes into the first
  std::vector<Event> events;
  std::int64_t rev = 1;
  Clock::time_point now = Clock::now();

  // Brings the Thread up to this moment: leases lapse, terminals that are gone lose their
  // seats. Everything else happens at this moment.
  void advance();

  // Gives the pane a seat, or renews the one it has.
  void seat(Pane& pane);
  // Takes the pane off the roster; gives the ids of what it held, which goes back to the pool.
  std::string vacate(Pane& pane, const std::string& why);
  // The same for one that is here no longer; the helpers that it asked for are stopped.
  void close(Pane& pane, const std::string& why);

  // Null when there is none.
  [[nodiscard]] Pane* pane_of(std::string_view session);
  [[nodiscard]] Ticket* ticket(std::string_view id);
  [[nodiscard]] Note* note(std::string_view name);
  // The seated pane that bears this fingerprint, handle or name (any case, with or without an
  // "@"); null when nobody does.
  [[nodiscard]] Pane* seated(std::string_view named);
  // The open terminal of this handle; null when there is none.
  [[nodiscard]] Pane* open_at(std::string_view handle);
  // The first seat of this role but `self`; null when there is none.
  [[nodiscard]] Pane* seated_as(std::string_view role, const Pane* self);
  // Whether the ticket is routed to a role that somebody here has, and the reader neither has
  // the role nor the ticket.
  [[nodiscard]] bool is_for_another_role(const TeamworkTask& task, const Pane& reader);
  // Whether somebody else bears the name.
  [[nodiscard]] bool is_taken(std::string_view name, const Pane* self);
  // How a fingerprint's owner is spoken of.
  [[nodiscard]] std::string handle_of(const std::string& fingerprint) const;

  // Writes a move down. Nobody is woken by what it did itself, nor twice by one move.
  void record(const std::string& kind, const std::string& actor,
              const std::optional<std::string>& taskID = {}, const std::vector<Wake>& wakes = {});
};

// Takes the ticket from its holder, if it has one.
void put_back(Ticket& ticket, const std::string& line);

[[nodiscard]] bool contains(const std::vector<std::string>& list, const std::string& wanted);

// Whole seconds, 0 when `to` is earlier.
[[nodiscard]] std::int64_t seconds_between(Clock::time_point from, Clock::time_point to);

}  // namespace qv::sandbox
