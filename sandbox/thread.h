#pragma once

// The one Thread of the practice app: who sits at it, its tickets, debates, notes between
// peers, and the log of everything that moved. Seats are named by fingerprint throughout.
//
// Nothing is ever sent to a pane. A move is an event with a revision and a list of those it
// concerns; whoever asks what happened since a revision is answered from the log, as often as
// it asks. So a waiter that dies loses nothing, and no delivery has to be kept track of.

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "board/changes.h"
#include "board/squad.h"
#include "board/task.h"
#include "room.h"

namespace qv::sandbox {

using Clock = std::chrono::steady_clock;

// Whom a move reaches that does not concern anybody by name.
enum class Reach {
  everyone,  // whoever waits for the whole board
  goal,      // the same, and those who stood down too
  states,    // whoever waits for the whole board and asked for changes of state
  followers  // only those who wait for this ticket
};

struct Move {
  std::string_view name;  // its kind on the wire
  Reach reach;
};

struct Wake {
  std::string fingerprint;
  TeamworkWakeReason reason;
};

[[nodiscard]] inline Wake wake(std::string fingerprint, std::string kind,
                               std::optional<std::string> taskID = {}, std::string summary = {},
                               std::optional<std::string> cause = {}) {
  return {std::move(fingerprint),
          {std::move(kind), std::move(taskID), std::move(summary), std::move(cause)}};
}

struct Event {
  std::int64_t rev = 0;
  Move move;
  std::string actor;  // empty when no seat did it
  std::optional<std::string> taskID;
  std::vector<Wake> wakes;
};

// A place on the roster. It is kept by doing something, or by waiting.
struct Seat {
  std::string name;
  std::optional<std::string> role;
  std::string status;
  Clock::time_point lease_until;
  Clock::time_point last_command;
  Clock::time_point waiting_until;  // a waiting command has spoken for it until then
  bool stood_down = false;
  bool warned = false;
};

struct Note {
  std::int64_t rev = 0;
  Clock::time_point left;
  TeamworkSquadMessage message;
};

// A terminal, an outside agent or a pretend helper. Its handle and fingerprint stay with it,
// seat or none.
struct Pane {
  std::string session;
  std::string handle;
  std::string fingerprint;
  std::string name;    // the name it chose; the handle until then
  std::string secret;  // what readmits an agent from outside; empty for all others
  pid_t pid = 0;       // its process; 0 for one that has none to be watched
  bool open = true;
  std::optional<Seat> seat;
  std::vector<Note> inbox;
};

struct Ticket {
  TeamworkTask record;  // what is the same for every reader
  std::string summary;
  std::string filed_by;
  std::string reports_to;        // whom its result is owed to; may be empty
  std::string blocked_by;        // who raised the blocker
  std::string release_asked_by;  // who wants it from its holder
  std::string review_asked_by;
  std::optional<std::string> review_role;
  std::set<std::string> holders;                    // whoever holds it or held it
  std::set<std::string> mentions;                   // who was named and has not answered
  std::map<std::string, std::size_t> last_comment;  // its line in the log, by author
  std::int64_t lines_since_summary = 0;
  bool wrote_since_claim = false;

  [[nodiscard]] bool finished() const {
    return record.state == "done" || record.state == "rejected";
  }
};

// The pretend helper at work on a ticket.
struct HelperRun {
  std::string fingerprint;
  std::string asked_by;
  std::string taskID;
  Clock::time_point started;
  Clock::time_point finishes;
  bool idle = false;
};

[[nodiscard]] std::string new_join_code();

// Wakes those who follow the ticket and whoever holds it.
[[nodiscard]] std::vector<Wake> wake_followers(const Ticket& ticket, const std::string& summary,
                                               const std::optional<std::string>& cause = {});

class Thread {
 public:
  static constexpr std::string_view kTag = "T-sandbx";
  static constexpr std::string_view kName = "Practice Thread";

  explicit Thread(std::chrono::seconds lease) : lease_(lease) {}

  std::string goal;
  std::string charter;
  bool goal_complete = false;
  bool goal_proposed = false;
  bool squad_on = true;
  std::deque<Pane> panes;  // closed ones stay, for the names they left behind
  std::deque<Ticket> tickets;
  std::deque<TeamworkDiscussion> debates;
  std::vector<HelperRun> helpers;
  Room room;
  std::string join_code = new_join_code();  // admits the next agent from outside

  // Brings the Thread up to this moment: leases lapse, terminals that are gone lose their
  // seats, pretend helpers finish. Everything else happens at this moment.
  void advance(Clock::time_point now);
  [[nodiscard]] Clock::time_point now() const { return now_; }
  [[nodiscard]] std::chrono::seconds lease() const { return lease_; }

  // A new pane; an empty session is given one.
  Pane& open_pane(std::string session, pid_t pid);
  void close_pane(Pane& pane);

  // Gives the pane a seat, or renews the one it has.
  Seat& seat(Pane& pane);

  // The open pane of a session; null when there is none.
  [[nodiscard]] Pane* pane_of(std::string_view session);

  // The pane that bears this fingerprint, handle or seat name (any case, with or without an
  // "@"), seated or not; null when nobody does.
  [[nodiscard]] Pane* somebody(std::string_view named);
  // The same, if it has a seat.
  [[nodiscard]] Pane* seated(std::string_view named);
  // How a fingerprint's owner is spoken of.
  [[nodiscard]] std::string handle_of(std::string_view fingerprint);

  [[nodiscard]] Ticket* ticket(std::string_view id);
  [[nodiscard]] bool is_resolved(std::string_view id);
  // A new ticket in the backlog, empty but for its id.
  Ticket& add_ticket();

  // Takes the pane off the roster; what it held goes back to the pool, its helpers stop.
  // Gives the ids of the tickets it held.
  std::vector<std::string> vacate(Pane& pane, const std::string& why);
  // Takes the ticket from its holder, if it has one.
  void put_back(Ticket& ticket, const std::string& line);
  void stop_helper(const std::string& fingerprint);
  void finish(Ticket& ticket, const Pane& by, const std::string& summary);

  // Writes a move down. Nobody is woken by what it did itself, nor twice by one move.
  void record(const Move& move, std::string_view actor, std::optional<std::string> taskID,
              std::vector<Wake> wakes = {});
  [[nodiscard]] std::int64_t rev() const { return rev_; }
  [[nodiscard]] const std::vector<Event>& events() const { return events_; }

 private:
  void finish_helpers();
  void lapse_leases();

  std::chrono::seconds lease_;
  Clock::time_point now_ = Clock::now();
  std::int64_t rev_ = 1;  // 0 is the cursor of one who has seen nothing
  std::int64_t last_ticket_ = 0;
  std::vector<Event> events_;
};

namespace moves {

inline constexpr Move kJoined{"agentJoined", Reach::followers};
inline constexpr Move kLeft{"agentLeft", Reach::followers};
inline constexpr Move kGoalSet{"goalSet", Reach::goal};
inline constexpr Move kGoalProposed{"goalProposed", Reach::followers};
inline constexpr Move kGoalCompleted{"goalCompleted", Reach::goal};
inline constexpr Move kGoalReopened{"goalReopened", Reach::goal};
inline constexpr Move kCharterSet{"charterSet", Reach::everyone};
inline constexpr Move kAdded{"taskAdded", Reach::everyone};
inline constexpr Move kUpdated{"taskUpdated", Reach::followers};
inline constexpr Move kClaimed{"taskClaimed", Reach::states};
inline constexpr Move kReleased{"taskReleased", Reach::everyone};
inline constexpr Move kReleaseAsked{"releaseRequested", Reach::followers};
inline constexpr Move kBlocked{"taskBlocked", Reach::states};
inline constexpr Move kUnblocked{"taskUnblocked", Reach::states};
inline constexpr Move kCompleted{"taskCompleted", Reach::everyone};
inline constexpr Move kRejected{"taskRejected", Reach::everyone};
inline constexpr Move kDeleted{"taskDeleted", Reach::everyone};
inline constexpr Move kAssigned{"taskAssigned", Reach::followers};
inline constexpr Move kCommented{"taskCommented", Reach::followers};
inline constexpr Move kReviewRequested{"reviewRequested", Reach::followers};
inline constexpr Move kReviewed{"reviewVerdict", Reach::followers};
inline constexpr Move kMessage{"messageLeft", Reach::followers};
inline constexpr Move kDebateOpened{"discussionOpened", Reach::followers};
inline constexpr Move kDebateReply{"discussionReply", Reach::followers};
inline constexpr Move kDebateResolved{"discussionResolved", Reach::followers};
inline constexpr Move kHelperStarted{"helperStarted", Reach::followers};
inline constexpr Move kHelperStopped{"helperStopped", Reach::followers};
inline constexpr Move kSquadSwitched{"squadSwitched", Reach::everyone};
inline constexpr Move kLease{"leaseExpiring", Reach::followers};

}  // namespace moves

}  // namespace qv::sandbox
