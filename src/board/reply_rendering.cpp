// Every reply ends alike: the bridge's notice, a link, the Thread's tag, and last of all what
// the reader still owes, since the last line is what an agent acts on.

#include "board/reply_rendering.h"

#include <algorithm>

#include "base/text.h"
#include "board/change_rendering.h"
#include "board/seat_rendering.h"
#include "board/squad_rendering.h"
#include "board/task_rendering.h"

namespace qv::board {

namespace {

using Kind = TeamworkResponse::Kind;

constexpr std::string_view kNoAgents = "No agents are registered in this Thread right now.";
constexpr std::string_view kNoGoal = "This Thread has no goal yet.";

std::string message_or(const TeamworkResponse& response, std::string_view otherwise) {
  return text::given(response.message) ? *response.message : std::string(otherwise);
}

std::string roster(const TeamworkResponse& response) {
  std::vector<std::string> rows;
  if (response.agents) {
    for (const TeamworkAgent& agent : *response.agents) rows.push_back(roster_row(agent));
  }
  std::string out = rows.empty() ? std::string(kNoAgents) : text::joined(rows, "\n");
  const auto add = [&out](const std::string& paragraph) {
    if (!paragraph.empty()) out += "\n\n" + paragraph;
  };
  if (response.squad) {
    add(squad_paragraph(*response.squad));
    add(helper_limit(*response.squad));
    add(helpers_offered(*response.squad));
  }
  if (response.runningHelpers) add(running_helpers(*response.runningHelpers));
  if (response.panes) add(nobody_home(*response.panes));
  if (response.macs) add(other_machines(*response.macs));
  return out;
}

std::string with_closing_line(const std::string& body, const std::string& closing) {
  if (body.empty() || closing.empty()) return body + closing;
  return body + "\n\n" + closing;
}

std::string task_page(const TeamworkTask& task, const View& view) {
  if (!view.page.asked() && !view.log_page.asked()) return task_detail(task);
  constexpr PageNames kBody{"body lines", "offset", "limit"};
  constexpr PageNames kLog{"log lines", "logOffset", "logLimit"};
  const std::vector<std::string_view> log(task.log.begin(), task.log.end());
  const std::vector<Cut> cuts{cut(lines_of(task.body), view.page, kBody),
                              cut(log, view.log_page, kLog)};
  TeamworkTask shown = task;
  if (view.page.asked()) shown.body = text::joined(cuts[0].lines, "\n");
  shown.log.assign(cuts[1].lines.begin(), cuts[1].lines.end());
  return with_closing_line(task_detail(shown),
                           closing_line(cuts, "qv task read " + shell_word(task.id)));
}

// The charter is a text of its own and keeps its lines.
std::string plan_text(const TeamworkPlan& plan) {
  std::string out = "Thread: " + text::on_one_line(plan.threadName);
  out += "\nGoal: " + (plan.goal.empty() ? "(none set)" : text::on_one_line(plan.goal));
  if (!plan.charter.empty()) out += "\nCharter: " + plan.charter;
  if (plan.goalComplete) {
    out += "\nGoal is COMPLETE.";
  } else if (plan.pendingGoalComplete) {
    out.append("\n").append(kCompletionProposed);
  }
  if (plan.otherLocalAgents >= 1 || plan.otherDevices >= 1) {
    out += "\nAlso here: " + std::to_string(plan.otherLocalAgents) + " agent(s), " +
           std::to_string(plan.otherDevices) + " other device(s).";
  }
  return out;
}

std::string plan_page(const TeamworkPlan& plan, const View& view) {
  std::string whole = plan_text(plan);
  if (!view.page.asked()) return whole;
  const Cut page = cut(lines_of(whole), view.page, {"lines", "offset", "limit"});
  return with_closing_line(text::joined(page.lines, "\n"), closing_line({page}, "qv board plan"));
}

std::string discussion_text(const TeamworkDiscussion& discussion) {
  std::string out = text::on_one_line("[" + discussion.id + "] " + text::uppered(discussion.state) +
                                      "  " + discussion.question);
  if (discussion.taskID) out += "\n  on task " + text::on_one_line(*discussion.taskID);
  for (const Volley& volley : discussion.volleys) {
    out += "\n  " + text::on_one_line(volley.author) + ": " + volley.body;
  }
  if (discussion.resolution) out += "\n  RESOLVED: " + *discussion.resolution;
  if (discussion.yourTurn) out += "\n  Your turn to reply.";
  return out;
}

std::string written_text(const TeamworkResponse& response) {
  std::string out = message_or(response, "Done.");
  if (!response.messages) return out;
  for (const auto& message : *response.messages) {
    out += "\n  - " + sender(message) + ": " + message.text;
  }
  return out;
}

std::string_view empty_text(std::string_view method) {
  if (method == "list_agents") return kNoAgents;
  if (method == "list_tasks") return kEmptyBacklog;
  if (method == "read_plan") return kNoGoal;
  return "Nothing to report.";
}

std::string body(const TeamworkResponse& response, const View& view) {
  switch (response.kind) {
    case Kind::registered: return seat_text(response, view.method);
    case Kind::agents: return roster(response);
    case Kind::tasks:
      if (!response.tasks || response.tasks->empty()) return std::string(kEmptyBacklog);
      return task_list(*response.tasks, view.reader, view.include_all);
    case Kind::task: return response.task ? task_page(*response.task, view) : "No task.";
    case Kind::plan: return response.plan ? plan_page(*response.plan, view) : std::string(kNoGoal);
    case Kind::changes: return change_feed(response.changes);
    case Kind::discussion:
      return response.discussion ? discussion_text(*response.discussion) : "No discussion.";
    case Kind::wake:
      return message_or(response, response.wakePending.value_or(false) ? "A wake is pending."
                                                                       : "No wake pending.");
    case Kind::written: return written_text(response);
    case Kind::gated: return message_or(response, "Refused.");
    case Kind::empty: return std::string(empty_text(view.method));
    case Kind::error: return message_or(response, "The board refused that.");
  }
  return "";
}

}  // namespace

std::string render(const TeamworkResponse& response, const View& view) {
  std::string out = body(response, view);
  if (text::given(response.notice)) out += "\n\n" + *response.notice;
  if (text::given(response.subscribeURL)) {
    out += "\n\nSubscribe: " + text::on_one_line(*response.subscribeURL);
  }
  if (text::given(response.threadTag)) {
    out += "\n\n(thread " + text::on_one_line(*response.threadTag) + ")";
  }
  if (response.obligations && !response.obligations->clear) {
    const std::string owed = obligations_summary(*response.obligations);
    if (!owed.empty()) out += "\n" + owed;
  }
  return out;
}

const TeamworkAgent* own_seat(const TeamworkResponse& response) {
  const bool agent_is_reader =
      response.agent && (response.kind == Kind::registered || response.agent->isSelf);
  if (agent_is_reader) return &*response.agent;
  if (!response.agents) return nullptr;
  const auto self = std::ranges::find(*response.agents, true, &TeamworkAgent::isSelf);
  return self == response.agents->end() ? nullptr : &*self;
}

}  // namespace qv::board
