#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "board/task.h"

// Tasks as an agent reads them: lines joined by line feeds, none at the end.
namespace qv::board {

// What the reader of a task list should do next, bucket by bucket. Each task is in one
// bucket, in the order the board listed them.
struct TaskBuckets {
  using Tasks = std::vector<const TeamworkTask*>;
  Tasks yours;
  Tasks forYou;
  Tasks readyToClaim;
  Tasks waiting;
  Tasks done;
  Tasks rejected;
};

// `reader` is the fingerprint of the calling pane's seat, empty without one. The buckets
// point into `tasks`.
[[nodiscard]] TaskBuckets grouped(const std::vector<TeamworkTask>& tasks, std::string_view reader);

// One line; `indentation` stands in front of it.
[[nodiscard]] std::string task_row(const TeamworkTask& task, std::string_view indentation = "");

// The backlog as a grouped briefing. Done and declined work is counted, or listed in full
// when `include_all` is set.
[[nodiscard]] std::string task_list(const std::vector<TeamworkTask>& tasks, std::string_view reader,
                                    bool include_all);

// One task whole. Its body keeps its lines; every other value, and each entry of the log,
// is one.
[[nodiscard]] std::string task_detail(const TeamworkTask& task);

inline constexpr std::string_view kEmptyBacklog = "This Thread's backlog is empty.";

}  // namespace qv::board
