#pragma once

#include "app.h"

namespace qv::sandbox {

// As many helpers as a Thread runs at once.
inline constexpr std::int64_t kHelperLimit = 20;

// The helper that every Thread offers at first: a script that works whatever is handed to it
// as a newcomer would, and does nothing else. And the program it is.
[[nodiscard]] Helper practice_helper();
[[nodiscard]] bool furnish_practice_helper(const Instance& instance);

// Why the command line is not one that a helper can be started with; empty when it is.
[[nodiscard]] std::string unfit_command(std::string_view command);

// Starts the helper at a terminal of its own, for this pane and on this ticket; null when it
// could not be started.
[[nodiscard]] Pane* start_helper(App& app, Thread& thread, const Helper& helper, const Pane& asker,
                                 const Ticket& ticket);

// Stops a helper and, down the chain of asking, those that it asked for. It hangs up first,
// as a terminal does that is closed, and puts an end to what does not go.
void stop_helper(Thread& thread, Pane& pane);
void stop_helpers_of(Thread& thread, const Pane& asker);

// Looks after a helper's process: sees that it has ended, and that one ends which was stopped.
void tend(Thread& thread, Pane& pane);

// Ends every helper there is, now.
void end_helpers(App& app);

// What `reader` is told of those that run, and of what may be started here.
[[nodiscard]] bool is_running(const Pane& pane);
[[nodiscard]] Pane* running_helper(Thread& thread, std::string_view handle);  // null: none
[[nodiscard]] std::vector<TeamworkHelperRun> helper_runs(const Thread& thread, const Pane& reader);
[[nodiscard]] TeamworkSquadState squad_state(const Thread& thread);

// Whether the helper was asked for by this pane, or by a helper that was.
[[nodiscard]] bool is_helper_of(const Thread& thread, const Pane& helper, const Pane& pane);

}  // namespace qv::sandbox
