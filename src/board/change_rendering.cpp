// What a woken agent reads first: why it was woken, then what moved, then what it owes.

#include "board/change_rendering.h"

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "board/task_rendering.h"

namespace qv::board {

namespace {

struct WakeSentence {
  std::string_view kind;
  std::string_view sentence;
};

constexpr WakeSentence kWakeSentences[] = {
    {"assigned", "A peer handed you a task."},
    {"unassigned", "Work aimed at you was re-aimed at somebody else."},
    {"message", "A peer left you a message."},
    {"mentioned", "You were @-mentioned."},
    {"blockerAnswered", "A blocker you raised was answered."},
    {"dependencyReady", "Something you were waiting on is done."},
    {"discussionReply", "A debate you are in has a reply."},
    {"reviewRequested", "A peer asked you to review their work."},
    {"reviewVerdict", "A review you asked for came back."},
    {"helperFinished", "Work you asked for is finished."},
    {"handsRefused", "A Mac you asked for hands said no."},
    {"helperIdle", "The hands you asked for are free and waiting for work."},
    {"squadClosed", "Squad was turned off for this thread."},
    {"authorityGranted", "The person changed your role here."},
    {"claimExpiring", "Your lease is about to lapse."},
    {"claimExpired", "Your lease lapsed and your claims went back to the pool."},
    {"taskWatched", "A task you follow changed."},
};

// The open tasks as rows; the finished ones only as a count.
std::string feed_tasks(const TaskList& tasks) {
  std::string rows;
  std::size_t finished = 0;
  tasks.for_each<TaskRow>([&](const TaskRow& task) {
    if (task.state == "done" || task.state == "rejected") {
      ++finished;
    } else {
      append_task_row(rows, task);
    }
  });
  std::string out;
  if (!rows.empty()) out += "\nTasks:" + rows;
  if (finished > 0) {
    out += "\n(" + std::to_string(finished) +
           " finished or declined, not listed. `qv task list --include all` shows them.)";
  }
  return out;
}

std::string undelivered(const std::vector<UndeliveredRef>& writes) {
  const auto refused = std::ranges::count(writes, true, &UndeliveredRef::refused);
  std::string out = std::to_string(writes.size()) + " of this Mac's writes did not land";
  if (refused > 0) out += " (" + std::to_string(refused) + " REFUSED by the relay)";
  return out;
}

}  // namespace

std::string_view wake_sentence(std::string_view kind) {
  for (const WakeSentence& row : kWakeSentences) {
    if (row.kind == kind) return row.sentence;
  }
  return "The board woke you.";
}

std::string wake_reason(const TeamworkWakeReason& reason) {
  const std::string_view summary = text::trimmed(reason.summary);
  std::string out(summary.empty() ? wake_sentence(reason.kind) : summary);
  out.append("  [").append(reason.kind);
  if (reason.taskID && !reason.taskID->empty()) out.append(" · ").append(*reason.taskID);
  out += "]";
  text::put_on_one_line(out);
  const std::string_view cause = reason.cause ? text::trimmed(*reason.cause) : "";
  if (!cause.empty()) out += "\n    " + text::on_one_line(std::string(cause));
  return out;
}

std::string sender(const TeamworkSquadMessage& message) {
  if (message.fromName.empty()) return text::on_one_line(message.from);
  return text::on_one_line(message.fromName + " (" + message.from + ")");
}

std::string change_feed(const std::optional<TeamworkChangeFeed>& feed) {
  if (!feed) return "Nothing changed.";
  const std::string rev = std::to_string(feed->rev);
  if (!feed->changed) return "Nothing changed (rev " + rev + ").";
  std::string out = "Board moved to rev " + rev + ".";
  if (!feed->changeKinds.empty()) {
    out += " Changes: " + text::joined(feed->changeKinds, ", ") + ".";
    text::put_on_one_line(out);
  }
  if (!feed->wakeReasons.empty()) out += "\nYou were woken:";
  for (const auto& reason : feed->wakeReasons) out += "\n  - " + wake_reason(reason);
  if (!feed->messages.empty()) out += "\nMessages:";
  for (const auto& message : feed->messages)
    out += "\n  - " + sender(message) + ": " + message.text;
  out += feed_tasks(feed->tasks);
  if (feed->goalComplete) {
    out += "\nThe goal is complete.";
  } else if (feed->pendingGoalComplete) {
    out.append("\n").append(kCompletionProposed);
  }
  return out;
}

std::string obligations_summary(const TeamworkObligations& owed) {
  std::vector<std::string> parts;
  const auto count = [&](const auto& list, std::string_view what) {
    if (!list.empty()) parts.push_back(std::to_string(list.size()) + std::string(what));
  };
  if (!owed.undelivered.empty()) parts.push_back(undelivered(owed.undelivered));
  count(owed.oweReply, " reply owed");
  count(owed.mentionsToAnswer, " mention(s) to answer");
  count(owed.yourBlockersOpen, " blocker(s) open");
  if (!owed.tasksHeld.empty()) parts.push_back("holding " + text::joined(owed.tasksHeld, ", "));
  count(owed.staleSummaries, " stale summary");
  count(owed.idleHeld, " idle held");
  return parts.empty() ? "" : text::on_one_line("obligations: " + text::joined(parts, "; "));
}

}  // namespace qv::board
