// An agent reads a backlog to find what to do next, so the list is a briefing: what it holds,
// what was handed to it, what it may take, and only then everything else.

#include "board/task_rendering.h"

#include <array>

#include "base/text.h"

namespace qv::board {

namespace {

struct BucketTexts {
  std::string_view name;  // in JSON
  std::string_view header;
  std::string_view closing;
};

// In the order of TaskBucket, which is the order of the briefing.
constexpr BucketTexts kBuckets[kTaskBuckets] = {
    {"yours", "YOURS (you hold these)", ""},
    {"forYou", "FOR YOU (handed to you by name)",
     "\n  "
     "A peer handed these to you by name. They are not claimed yet — claiming is still yours "
     "to do, and you may decline by leaving them or saying why on the task. Take these before "
     "anything in readyToClaim."},
    {"readyToClaim", "READY TO CLAIM", ""},
    {"waiting", "WAITING (in flight, aimed at a peer, blocked or not ready)", ""},
    {"done", "DONE", ""},
    {"rejected", "DECLINED", ""},
};

constexpr std::size_t index_of(TaskBucket bucket) { return static_cast<std::size_t>(bucket); }

// What of a bucket is shown: how many tasks it has, and their rows.
struct Rows {
  std::size_t count = 0;
  std::string text;
};
using RowsOfBuckets = std::array<Rows, kTaskBuckets>;

RowsOfBuckets grouped_rows(const TaskList& tasks, std::string_view reader, bool include_all) {
  RowsOfBuckets all;
  tasks.for_each<TaskRow>([&](const TaskRow& task) {
    const TaskBucket bucket = bucket_of(task, reader);
    Rows& rows = all[index_of(bucket)];
    ++rows.count;
    if (bucket >= TaskBucket::done && !include_all) return;
    append_task_row(rows.text, task);
  });
  return all;
}

std::string hidden_count(const RowsOfBuckets& all) {
  std::string out;
  const std::size_t done = all[index_of(TaskBucket::done)].count;
  const std::size_t declined = all[index_of(TaskBucket::rejected)].count;
  if (done > 0) out += std::to_string(done) + " done";
  if (done > 0 && declined > 0) out += ", ";
  if (declined > 0) out += std::to_string(declined) + " declined";
  return out.empty() ? out : out + " — hidden. Pass --include all to list them.";
}

}  // namespace

TaskBucket bucket_of(const TaskRow& task, std::string_view reader) {
  if (task.state == "done") return TaskBucket::done;
  if (task.state == "rejected") return TaskBucket::rejected;
  const bool held = text::given(task.ownerFingerprint);
  if (!reader.empty() && task.ownerFingerprint == reader) return TaskBucket::yours;
  if (!reader.empty() && task.routedToFingerprint == reader && !held) return TaskBucket::forYou;
  const bool aimed_at_live_peer = text::given(task.routedToFingerprint) && task.routedToLive;
  if (task.ready && !task.blocked && !held && !aimed_at_live_peer) return TaskBucket::readyToClaim;
  return TaskBucket::waiting;
}

std::string bucket_ids(const TaskList& tasks, std::string_view reader) {
  std::array<std::string, kTaskBuckets> ids;
  tasks.for_each<TaskRow>([&](const TaskRow& task) {
    std::string& list = ids[index_of(bucket_of(task, reader))];
    list += list.empty() ? "[" : ",";
    json::append_text(list, task.id);
  });
  std::string out;
  for (std::size_t i = 0; i < kTaskBuckets; ++i) {
    out += out.empty() ? "{" : ",";
    json::append_text(out, kBuckets[i].name);
    out.append(":").append(ids[i].empty() ? "[" : ids[i]).append("]");
  }
  return out + "}";
}

void append_task_row(std::string& out, const TaskRow& task) {
  constexpr std::size_t kStateWidth = 9;
  out += "\n  ";
  const std::size_t start = out.size();
  out.append(task.id).append("  ").append(
      text::padded(text::on_one_line(text::uppered(task.state)), kStateWidth));
  out.append("  ").append(task.title);
  if (task.blocked) out += "  [BLOCKED]";
  if (text::given(task.ownerFingerprint)) out.append("  held by ").append(*task.ownerFingerprint);
  if (text::given(task.routedToFingerprint)) {
    out.append("  → ").append(*task.routedToFingerprint);
    if (!task.routedToLive) out += " (gone)";
  }
  if (!task.waitsOn.empty()) out.append("  waits on ").append(text::joined(task.waitsOn, ","));
  text::put_on_one_line(out, start);
}

std::string task_list(const TaskList& tasks, std::string_view reader, bool include_all) {
  const RowsOfBuckets all = grouped_rows(tasks, reader, include_all);
  constexpr std::size_t kRoomForTheRest = 4096;  // headings, and what the reply says besides
  std::size_t room = kRoomForTheRest;
  for (const Rows& rows : all) room += rows.text.size();
  std::string out;
  out.reserve(room);
  const auto begin_section = [&out]() -> std::string& { return out.empty() ? out : out += "\n\n"; };
  for (std::size_t i = 0; i < kTaskBuckets; ++i) {
    if (all[i].text.empty()) continue;
    const auto& [name, header, closing] = kBuckets[i];
    begin_section().append(header).append(all[i].text).append(closing);
  }
  const std::string hidden = include_all ? "" : hidden_count(all);
  if (!hidden.empty()) begin_section() += hidden;
  if (reader.empty()) {
    begin_section() +=
        "You have no seat here, so nothing shows as yours. Run `qv board register` first.";
  }
  if (out.empty()) out = kEmptyBacklog;
  return out;
}

std::string task_detail(const TeamworkTask& task) {
  std::string out =
      text::on_one_line(task.id + "  " + text::uppered(task.state) + "  " + task.title);
  const auto add_row = [&out](std::string_view label, std::string_view value,
                              std::string_view remark = "") {
    out += '\n';
    const std::size_t start = out.size();
    out.append(label).append(value).append(remark);
    text::put_on_one_line(out, start);
  };
  if (text::given(task.routedToFingerprint)) {
    add_row("aimed at: ", *task.routedToFingerprint,
            task.routedToLive ? "" : " (nobody home there)");
  }
  if (text::given(task.reportsToHandle)) add_row("asked for by: ", *task.reportsToHandle);
  if (task.type) add_row("type: ", *task.type);
  add_row("priority: ", std::to_string(task.priority));
  if (text::given(task.ownerFingerprint)) {
    const auto& lease = task.claimLeaseSecondsRemaining;
    add_row("held by: ", *task.ownerFingerprint,
            lease ? " (lease " + std::to_string(*lease) + "s)" : "");
  }
  if (task.blocked) {
    add_row("BLOCKED: ", task.blockerQuestion.value_or("(no question given)"));
    if (task.blockerAnswer) add_row("  answered: ", *task.blockerAnswer);
  }
  if (task.parkedReason) add_row("parked: ", *task.parkedReason);
  if (!task.waitsOn.empty()) add_row("waits on: ", text::joined(task.waitsOn, ", "));
  if (!task.resources.empty()) add_row("resources: ", text::joined(task.resources, ", "));
  if (task.reviewState) add_row("review: ", *task.reviewState);
  if (!task.body.empty()) out.append("\n\n").append(task.body);
  if (!task.log.empty()) out += "\n\nlog:";
  for (const std::string& line : task.log) add_row("  ", line);
  return out;
}

}  // namespace qv::board
