#include "waiting/wait_output.h"

#include <array>
#include <unordered_set>
#include <vector>

#include "base/json.h"
#include "base/text.h"

namespace qv::waiting {

namespace {

std::string moved_tasks(const std::vector<TeamworkChange>& changes) {
  std::vector<std::string_view> ids;
  std::unordered_set<std::string_view> seen;
  for (const TeamworkChange& change : changes) {
    const std::string_view id = change.taskID ? *change.taskID : std::string_view();
    if (!id.empty() && seen.insert(id).second) ids.push_back(id);
  }
  return text::joined(ids, " ");
}

}  // namespace

std::string_view name_of(Ending ending) {
  constexpr std::array<std::string_view, 5> kNames{"orphaned", "appGone", "timedOut", "refused",
                                                   "notInAThread"};
  return kNames[static_cast<std::size_t>(ending)];
}

std::string timed_out(std::optional<std::int64_t> timeout_seconds, std::int64_t cursor) {
  const std::string seconds = timeout_seconds ? std::to_string(*timeout_seconds) : "the time given";
  return "qv wait, from Quorvel and not from the person: nothing changed in " + seconds +
         "s (rev " + std::to_string(cursor) +
         "). You "
         "are not finished: start `qv wait` again in the background and end "
         "your turn.";
}

std::string ending_line(Ending ending, std::string_view message) {
  std::string line = "{\"ending\":";
  json::append_text(line, name_of(ending));
  line += ",\"message\":";
  json::append_text(line, message);
  return line + "}";
}

std::string move_line(const TeamworkChangeFeed& feed) {
  std::vector<std::string> parts{"rev " + std::to_string(feed.rev)};
  const auto add = [&parts](std::string part) {
    if (!part.empty()) parts.push_back(std::move(part));
  };
  add(text::joined(feed.changeKinds, ", "));
  add(moved_tasks(feed.changes));
  for (const TeamworkWakeReason& reason : feed.wakeReasons) {
    const std::string summary(text::trimmed(reason.summary));
    add("woken: " + (summary.empty() ? reason.kind : summary) + " [" + reason.kind + "]");
    const std::string cause(text::trimmed(reason.cause.value_or("")));
    if (!cause.empty()) add("cause: " + cause);
  }
  for (const TeamworkSquadMessage& message : feed.messages) {
    add("message from " + message.from + ": " + std::string(text::trimmed(message.text)));
  }
  if (feed.goalComplete) {
    add("THE GOAL IS COMPLETE");
  } else if (feed.pendingGoalComplete) {
    add("goal completion proposed, awaiting the human");
  }
  return text::on_one_line(text::joined(parts, " · "));
}

}  // namespace qv::waiting
