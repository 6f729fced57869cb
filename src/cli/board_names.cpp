// A name goes from the board straight into a shell's command line, so only one that no shell
// makes anything of is offered; and what it stands for is shown on a terminal, so nothing in it
// may drive one.

#include "cli/board_names.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "board/request.h"
#include "board/response.h"
#include "bridge/endpoint.h"

namespace qv::Completion {

namespace {

constexpr double kPatienceSeconds = 0.3;

// Every letter of it stands for itself in each shell.
bool is_plain(std::string_view name) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.@";
  return !name.empty() && !name.starts_with('-') &&
         name.find_first_not_of(kPlain) == std::string_view::npos;
}

class Collector {
 public:
  void add(const std::string& name, const std::string& meaning) {
    if (!is_plain(name) || std::ranges::find(found_, name, &Candidate::word) != found_.end()) {
      return;
    }
    found_.push_back({name, text::with_visible_controls(text::on_one_line(meaning))});
  }
  Candidates found() { return std::move(found_); }

 private:
  Candidates found_;
};

// What is done or rejected is hardly ever named again.
Candidates open_tasks(const TeamworkResponse& response) {
  Collector names;
  response.tasks.value_or(TaskList()).for_each([&](const TeamworkTask& task) {
    if (task.state != "done" && task.state != "rejected") names.add(task.id, task.title);
  });
  return names.found();
}

// Peers, terminals with nobody home, and helpers.
Candidates handles(const TeamworkResponse& response) {
  Collector names;
  for (const auto& agent : response.agents.value_or(std::vector<TeamworkAgent>{})) {
    if (!agent.isSelf) names.add(agent.handle, agent.name + ": " + agent.status);
  }
  for (const auto& pane : response.panes.value_or(std::vector<TeamworkPane>{})) {
    names.add(pane.handle, "nobody home");
  }
  for (const auto& run : response.runningHelpers.value_or(std::vector<TeamworkHelperRun>{})) {
    names.add(run.handle, run.helper + ": " + run.state);
  }
  return names.found();
}

}  // namespace

Candidates names_on_board(Values values, const CLIEnvironment& env) {
  if (env.sessionID.empty() || env.board.socket.empty()) return {};
  const bool wants_tasks = values == Values::tasks;
  TeamworkRequest request;
  request.method = wants_tasks ? "list_tasks" : "list_agents";
  const auto bytes =
      bridge::ask(env.board, env.sessionID, request,
                  BridgeTransport::Options{.wholeExchangeSeconds = kPatienceSeconds});
  const auto response = bytes ? record::from_text<TeamworkResponse>(bytes.view()) : std::nullopt;
  if (!response) return {};
  return wants_tasks ? open_tasks(*response) : handles(*response);
}

}  // namespace qv::Completion
