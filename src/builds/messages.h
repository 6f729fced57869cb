#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// What the coordinator says to the pane: one plain sentence, on standard error, since
// standard output belongs to the build tool.
namespace qv::build::messages {

inline constexpr std::string_view kFollowing =
    "the same build is already running in this folder, so this one shows its output instead of "
    "building twice";
inline constexpr std::string_view kLeaderStopped =
    "that build was stopped before it finished, so this one is building for itself";
inline constexpr std::string_view kNoLongerFollowed =
    "that build's output can no longer be followed, so this one is building for itself";
inline constexpr std::string_view kCritical =
    "this Mac is critically low on memory, so this build waits until some is free (at most 10 "
    "minutes)";

inline constexpr std::string_view kWhatToDo =
    "`qv __builds` shows the queue, and QUORVEL_BUILD_SLOT_OFF=1 builds without waiting";

[[nodiscard]] std::string waits_for_memory(std::int64_t ahead);
[[nodiscard]] std::string waits_for_cores(std::int64_t ahead);
[[nodiscard]] std::string uses_fewer_cores(std::int64_t jobs, std::int64_t cores,
                                           std::int64_t others);
// `error` is a number of errno.
[[nodiscard]] std::string could_not_be_written(int error);

// Writes the sentence as a line of the coordinator's own.
void tell(std::string_view sentence);

}  // namespace qv::build::messages
