// What only the app and the person at it can do. No command of qv asks for any of it, only
// qv-sandbox does; so whatever is done here is done by no seat, and wakes every seat that it
// concerns.

#include <algorithm>
#include <utility>

#include "base/files.h"
#include "base/json.h"
#include "base/text.h"
#include "board.h"
#include "helpers.h"

namespace qv::sandbox {

namespace {

// The first word behind the deed, and the second.
std::string what(const Call& call) { return call.request.name.value_or(""); }
std::string how(const Call& call) { return call.request.body.value_or(""); }

std::string to_do(const std::string& deed) { return "`qv-sandbox person " + deed + "`"; }

// A question, and behind it what it says of the answer that is wanted.
std::string in_words(const std::string& question) {
  constexpr std::string_view kBegin = "[[ask:";
  constexpr std::string_view kEnd = "]] ";
  constexpr std::pair<std::string_view, std::string_view> kFacts[] = {
      {"k", ""}, {"o", "one of "}, {"s", "the secret "}, {"a", "see "}, {"c", "until then: "}};
  const std::size_t end = question.find("}" + std::string(kEnd));
  if (!question.starts_with(kBegin) || end == std::string::npos) return question;
  const std::string source = question.substr(kBegin.size(), end + 1 - kBegin.size());
  const auto ask = json::parse(source);
  if (!ask) return question;
  std::vector<std::string> facts;
  for (const auto& [key, before] : kFacts) {
    const auto fact = ask->root().member(key);
    if (!fact) continue;
    std::vector<std::string_view> words;
    if (fact->is(json::Kind::text)) words.push_back(fact->text());
    for (const json::Value word : fact->elements()) {
      if (word.is(json::Kind::text)) words.push_back(word.text());
    }
    facts.push_back(std::string(before) + text::joined(words, ", "));
  }
  return question.substr(end + 1 + kEnd.size()) + " [" + text::joined(facts, "; ") + "]";
}

Reply app_opens_pane(const Call& call) {
  const auto pid = text::whole_number(what(call));
  const Pane& pane = call.app.open_pane(call.thread, "", static_cast<pid_t>(pid.value_or(0)));
  return {.kind = Kind::written, .message = pane.handle, .notice = pane.id};
}

// All that waits for the person, and what can be done about it.
Reply looks(const Call& call) {
  const Thread& thread = call.thread;
  std::vector<std::string> lines{thread.plan.threadName + " (" + thread.tag + "), join code " +
                                 thread.join_code};
  if (thread.plan.pendingGoalComplete) {
    lines.push_back("the goal is proposed as complete: " + to_do("confirm") + ", or " +
                    to_do("reopen"));
  }
  for (const Ticket& task : thread.tickets) {
    if (!task.blocked || task.blockerAnswer || task.finished()) continue;
    lines.push_back(task.id + " asks: " + in_words(task.blockerQuestion.value_or("")) + "  (" +
                    to_do("answer " + task.id + " <text>") + ")");
  }
  for (const Helper& helper : thread.suggestions) {
    const std::string& name = helper.name;
    lines.push_back(thread.handle_of(helper.suggested_by) + " suggests the helper " + name + ": " +
                    helper.command + "  (" + helper.reason + "; " + to_do("add " + name) + " or " +
                    to_do("decline " + name) + ")");
  }
  for (const Helper& helper : thread.helpers) {
    lines.push_back("agents may start " + helper.name + ": " + helper.command);
  }
  for (const TeamworkHelperRun& run : helper_runs(thread, call.caller)) {
    lines.push_back(run.handle + " runs " + run.helper + " for " + run.askedBy + ", " + run.state +
                    "; " + run.detail.value_or(""));
  }
  const std::string suggested = files::read(call.app.instance.home + "/destinations").value_or("");
  for (const std::string_view line : text::split(text::trimmed(suggested), '\n')) {
    if (!line.empty()) lines.push_back("an agent suggests " + std::string(line));
  }
  for (const Note& note : thread.notes) {
    if (note.readOnly == true) lines.push_back("the note " + note.name + " is locked");
  }
  return written(text::joined(lines, "\n"));
}

Reply answers(const Call& call) {
  if (call.task == nullptr || !call.task->blocked) {
    return refused("No task by that id is blocked. `qv task list` shows which are.");
  }
  if (text::trimmed(how(call)).empty()) return refused("Say what the answer is.");
  Ticket& task = *call.task;
  task.blockerAnswer = how(call);
  task.log.push_back("the person answered: " + *task.blockerAnswer);
  const std::string news = "The person answered " + task.id + ": " + *task.blockerAnswer;
  const std::string next = "To go on: `qv task update " + task.id + " --blocked false`.";
  call.record("taskUpdated", {{task.blocked_by, {"blockerAnswered", task.id, news, next}}});
  return written("Answered " + task.id + ".");
}

Reply confirms(const Call& call) {
  TeamworkPlan& plan = call.thread.plan;
  if (!plan.pendingGoalComplete) return refused("Nobody proposed that the goal is complete.");
  plan.pendingGoalComplete = false;
  plan.goalComplete = true;
  call.record("goalCompleted");
  return written("The goal is complete.");
}

Reply reopens(const Call& call) {
  TeamworkPlan& plan = call.thread.plan;
  if (!plan.pendingGoalComplete && !plan.goalComplete) return refused("The goal is open.");
  plan.pendingGoalComplete = plan.goalComplete = false;
  call.record("goalReopened");
  return written("The goal is open again.");
}

Reply reads_code(const Call& call) { return written(call.thread.join_code); }

Helper* named(std::vector<Helper>& helpers, const std::string& name) {
  const auto found = std::ranges::find(helpers, name, &Helper::name);
  return found == helpers.end() ? nullptr : &*found;
}

void drop(std::vector<Helper>& helpers, const std::string& name) {
  std::erase_if(helpers, [&](const Helper& helper) { return helper.name == name; });
}

// Tells whoever suggested the helper what became of it.
void settle(const Call& call, const Helper& suggested, const std::string& news) {
  drop(call.thread.suggestions, suggested.name);
  call.record("squadChanged", {{suggested.suggested_by, {"squadChanged", {}, news, {}}}});
}

Reply adds(const Call& call) {
  const std::string name = what(call);
  const Helper* suggested = named(call.thread.suggestions, name);
  Helper helper = suggested == nullptr
                      ? Helper{{.name = name, .runsWithoutApprovals = true}, {}, {}, {}}
                      : *suggested;
  if (!how(call).empty()) helper.command = how(call);
  if (call.request.explanation) helper.explanation = *call.request.explanation;
  const std::string wrong = unfit_command(helper.command);
  if (name.empty() || !wrong.empty()) return refused(wrong);
  drop(call.thread.helpers, name);
  call.thread.helpers.push_back(helper);
  settle(call, helper, "The person added the helper " + name + ".");
  return written("Agents may start " + name + " now: " + helper.command);
}

Reply declines(const Call& call) {
  const Helper* suggested = named(call.thread.suggestions, what(call));
  if (suggested == nullptr) return refused("Nobody suggests a helper called " + what(call) + ".");
  settle(call, Helper(*suggested), "The person declined the helper " + what(call) + ".");
  return written("Declined " + what(call) + ".");
}

Reply removes(const Call& call) {
  if (named(call.thread.helpers, what(call)) == nullptr) {
    return refused("No helper called " + what(call) + " is allowed.");
  }
  drop(call.thread.helpers, what(call));
  std::vector<Wake> wakes;
  for (const Pane& pane : call.thread.panes) {
    if (pane.seat && call.thread.helpers.empty()) {
      wakes.push_back({pane.fingerprint, {"squadClosed"}});
    }
  }
  call.record("squadChanged", wakes);
  return written("Agents may not start " + what(call) + " any more.");
}

Reply stops(const Call& call) {
  Pane* pane = running_helper(call.thread, what(call));
  if (pane == nullptr) return refused("No helper called " + what(call) + " is running.");
  stop_helper(call.thread, *pane);
  return written("Stopped " + pane->handle + ".");
}

// Locks the note or unlocks it.
template <bool locked>
Reply changes_lock(const Call& call) {
  Note* note = call.thread.note(what(call));
  if (note == nullptr) return refused("There is no note called " + what(call) + ".");
  note->readOnly = locked;
  note->lock_reason.clear();
  return written((locked ? "Locked " : "Unlocked ") + note->name + ".");
}

Reply moves(const Call& call) {
  const auto is_meant = [&](const Thread& thread) {
    return text::equal_ignoring_case(thread.tag, how(call)) ||
           text::equal_ignoring_case(thread.plan.threadName, how(call));
  };
  if (text::trimmed(how(call)).empty()) return refused("Name the Thread that it shall be in.");
  auto& threads = call.app.threads;
  for (Thread& from : threads) {
    Pane* pane = from.open_at(what(call));
    if (pane == nullptr) continue;
    if (pane->hands) return refused(pane->handle + " is a helper, and stays where it is.");
    if (is_meant(from)) return refused(pane->handle + " is there.");
    const auto known = std::ranges::find_if(threads, is_meant);
    Thread& to = known == threads.end() ? call.app.open_thread(how(call)) : *known;
    const std::string handle = pane->handle;
    call.app.move(from, *pane, to);
    return written(handle + " is in " + to.plan.threadName + " (" + to.tag + ") now.");
  }
  return refused("No terminal is called " + what(call) + ".");
}

constexpr Method kMethods[] = {
    {"app_opens_pane", Needs::nothing, app_opens_pane},
    {"person_", Needs::nothing, looks},
    {"person_add", Needs::nothing, adds},
    {"person_answer", Needs::nothing, answers},
    {"person_code", Needs::nothing, reads_code},
    {"person_confirm", Needs::nothing, confirms},
    {"person_decline", Needs::nothing, declines},
    {"person_lock", Needs::nothing, changes_lock<true>},
    {"person_move", Needs::nothing, moves},
    {"person_remove", Needs::nothing, removes},
    {"person_reopen", Needs::nothing, reopens},
    {"person_stop", Needs::nothing, stops},
    {"person_unlock", Needs::nothing, changes_lock<false>},
};

}  // namespace

std::span<const Method> person_methods() { return kMethods; }

}  // namespace qv::sandbox
