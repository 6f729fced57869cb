// An agent reads a backlog to find what to do next, so the list is a briefing: what it holds,
// what was handed to it, what it may take, and only then everything else.

#include "board/task_rendering.h"

#include "base/text.h"

namespace qv::board {

namespace {

TaskBuckets::Tasks& bucket_of(const TeamworkTask& task, std::string_view reader,
                              TaskBuckets& buckets) {
  if (task.state == "done") return buckets.done;
  if (task.state == "rejected") return buckets.rejected;
  const bool held = text::given(task.ownerFingerprint);
  if (!reader.empty() && task.ownerFingerprint == reader) return buckets.yours;
  if (!reader.empty() && task.routedToFingerprint == reader && !held) return buckets.forYou;
  const bool aimed_at_live_peer = text::given(task.routedToFingerprint) && task.routedToLive;
  if (task.ready && !task.blocked && !held && !aimed_at_live_peer) return buckets.readyToClaim;
  return buckets.waiting;
}

void append_row(std::string& out, const TeamworkTask& task) {
  constexpr std::size_t kStateWidth = 9;
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

std::string rows(const TaskBuckets::Tasks& tasks) {
  std::string out;
  for (const TeamworkTask* task : tasks) {
    if (!out.empty()) out += '\n';
    out += "  ";
    append_row(out, *task);
  }
  return out;
}

void add_section(std::vector<std::string>& sections, std::string_view header,
                 const TaskBuckets::Tasks& tasks) {
  if (!tasks.empty()) sections.push_back(std::string(header) + "\n" + rows(tasks));
}

void add_hidden_count(std::vector<std::string>& sections, const TaskBuckets& buckets) {
  std::vector<std::string> counts;
  if (!buckets.done.empty()) counts.push_back(std::to_string(buckets.done.size()) + " done");
  if (!buckets.rejected.empty()) {
    counts.push_back(std::to_string(buckets.rejected.size()) + " declined");
  }
  if (counts.empty()) return;
  sections.push_back(text::joined(counts, ", ") + " — hidden. Pass --include all to list them.");
}

}  // namespace

TaskBuckets grouped(const std::vector<TeamworkTask>& tasks, std::string_view reader) {
  TaskBuckets buckets;
  for (const TeamworkTask& task : tasks) bucket_of(task, reader, buckets).push_back(&task);
  return buckets;
}

std::string task_row(const TeamworkTask& task, std::string_view indentation) {
  std::string out(indentation);
  append_row(out, task);
  return out;
}

std::string task_list(const std::vector<TeamworkTask>& tasks, std::string_view reader,
                      bool include_all) {
  const TaskBuckets buckets = grouped(tasks, reader);
  std::vector<std::string> sections;
  add_section(sections, "YOURS (you hold these)", buckets.yours);
  if (!buckets.forYou.empty()) {
    sections.push_back(
        "FOR YOU (handed to you by name)\n" + rows(buckets.forYou) +
        "\n  "
        "A peer handed these to you by name. They are not claimed yet — claiming is still yours "
        "to do, and you may decline by leaving them or saying why on the task. Take these before "
        "anything in readyToClaim.");
  }
  add_section(sections, "READY TO CLAIM", buckets.readyToClaim);
  add_section(sections, "WAITING (in flight, aimed at a peer, blocked or not ready)",
              buckets.waiting);
  if (include_all) {
    add_section(sections, "DONE", buckets.done);
    add_section(sections, "DECLINED", buckets.rejected);
  } else {
    add_hidden_count(sections, buckets);
  }
  if (reader.empty()) {
    sections.emplace_back(
        "You have no seat here, so nothing shows as yours. Run `qv board register` first.");
  }
  return sections.empty() ? std::string(kEmptyBacklog) : text::joined(sections, "\n\n");
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
