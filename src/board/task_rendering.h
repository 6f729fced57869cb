#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "board/task.h"

// Tasks as an agent reads them: lines joined by line feeds, none at the end.
namespace qv::board {

// What the reader of a task list should do next with a task.
enum class TaskBucket { yours, forYou, readyToClaim, waiting, done, rejected };
inline constexpr std::size_t kTaskBuckets = 6;

// `reader` is the fingerprint of the calling pane's seat, empty without one.
[[nodiscard]] TaskBucket bucket_of(const TaskRow& task, std::string_view reader);

// The ids of the tasks in each bucket, in the order the board listed them, as a JSON object.
[[nodiscard]] std::string bucket_ids(const TaskList& tasks, std::string_view reader);

// Adds a line feed and the row of the task, which is one line and indented.
void append_task_row(std::string& out, const TaskRow& task);

// The backlog as a grouped briefing. Done and declined work is counted, or listed in full
// when `include_all` is set.
[[nodiscard]] std::string task_list(const TaskList& tasks, std::string_view reader,
                                    bool include_all);

// One task whole. Its body keeps its lines; every other value, and each entry of the log,
// is one.
[[nodiscard]] std::string task_detail(const TeamworkTask& task);

inline constexpr std::string_view kEmptyBacklog = "This Thread's backlog is empty.";

}  // namespace qv::board
