// A name goes from a bridge straight into a shell's command line, so only one that no shell
// makes anything of is offered; and what it stands for is shown on a terminal, so nothing in it
// may drive one.

#include "cli/known_names.h"

#include <string_view>
#include <unordered_set>
#include <utility>

#include "base/text.h"
#include "board/request.h"
#include "board/response.h"
#include "bridge/endpoint.h"
#include "notes/request.h"
#include "notes/response.h"
#include "platform/clock.h"

namespace qv::Completion {

namespace {

constexpr double kPatienceSeconds = 0.3;  // with all that is asked for one kind

class Collector {
 public:
  void add(const std::string& name, const std::string& meaning) {
    if (!text::is_plain_word(name) || name.starts_with('-') || !seen_.insert(name).second) return;
    found_.push_back({name, text::with_visible_controls(text::on_one_line(meaning))});
  }
  Candidates found() { return std::move(found_); }

 private:
  std::unordered_set<std::string> seen_;
  Candidates found_;
};

// What is done or rejected is hardly ever named again.
void add_open_tasks(const TeamworkResponse& response, Collector& names) {
  response.tasks.value_or(TaskList()).for_each([&](const TeamworkTask& task) {
    if (task.state != "done" && task.state != "rejected") names.add(task.id, task.title);
  });
}

// Peers, terminals with nobody home, and helpers.
void add_handles(const TeamworkResponse& response, Collector& names) {
  for (const auto& agent : response.agents.value_or(std::vector<TeamworkAgent>{})) {
    if (!agent.isSelf) names.add(agent.handle, agent.name + ": " + agent.status);
  }
  for (const auto& pane : response.panes.value_or(std::vector<TeamworkPane>{})) {
    names.add(pane.handle, "nobody home");
  }
  for (const auto& run : response.runningHelpers.value_or(std::vector<TeamworkHelperRun>{})) {
    names.add(run.handle, run.helper + ": " + run.state);
  }
}

void add_open(const std::vector<TeamworkDiscussion>& debates, Collector& names) {
  for (const auto& debate : debates) {
    if (!debate.resolution) names.add(debate.id, debate.question);
  }
}

void add_debates_on_tasks(const TeamworkResponse& response, Collector& names) {
  response.tasks.value_or(TaskList()).for_each([&](const TeamworkTask& task) {
    add_open(task.discussions, names);
  });
}

void add_debates_of_board(const TeamworkResponse& response, Collector& names) {
  add_open(response.plan.value_or(TeamworkPlan()).discussions, names);
}

void add_notes(const MCPBridgeResponse& response, Collector& names) {
  for (const auto& note : response.notes.value_or(std::vector<MCPNoteSummary>{})) {
    names.add(note.name, note.summary);
  }
}

// Nothing can be asked that lists the notebooks: these are the ones that the notes lie in.
void add_notebooks(const MCPBridgeResponse& response, Collector& names) {
  for (const auto& note : response.notes.value_or(std::vector<MCPNoteSummary>{})) {
    names.add(note.notebook, "");
  }
}

// What is asked for the names of a kind, and how they are found in the answer.
template <class Response>
struct Question {
  Values values;
  std::string_view method;
  void (*add)(const Response&, Collector&);
};

constexpr Question<TeamworkResponse> kOfBoard[] = {
    {Values::tasks, "list_tasks", add_open_tasks},
    {Values::handles, "list_agents", add_handles},
    {Values::debates, "read_plan", add_debates_of_board},
    {Values::debates, "list_tasks", add_debates_on_tasks},
};
constexpr Question<MCPBridgeResponse> kOfNotes[] = {
    {Values::notes, "list_notes", add_notes},
    {Values::notebooks, "list_notes", add_notebooks},
};

class Search {
 public:
  Search(Values values, const CLIEnvironment& env) : values_(values), env_(env) {}

  template <record::Record Request, class Questions>
  void ask(const bridge::Endpoint& endpoint, const Questions& questions) {
    for (const auto& question : questions) {
      if (question.values == values_) ask_one<Request>(endpoint, question);
    }
  }
  Candidates found() { return names_.found(); }

 private:
  template <record::Record Request, class Response>
  void ask_one(const bridge::Endpoint& endpoint, const Question<Response>& question) {
    const double left = end_ - platform::monotonic_seconds();
    if (endpoint.socket.empty() || left <= 0) return;
    Request request;
    request.method = question.method;
    const auto bytes = bridge::ask(endpoint, env_.sessionID, request,
                                   BridgeTransport::Options{.wholeExchangeSeconds = left});
    const auto reply = bytes ? json::parse(bytes.view()) : std::nullopt;
    Response response;
    if (reply && record::decode(*reply, response)) question.add(response, names_);
  }

  Values values_;
  const CLIEnvironment& env_;
  double end_ = platform::monotonic_seconds() + kPatienceSeconds;
  Collector names_;
};

}  // namespace

Candidates known_names(Values values, const CLIEnvironment& env) {
  if (env.sessionID.empty()) return {};
  Search search(values, env);
  search.ask<TeamworkRequest>(env.board, kOfBoard);
  search.ask<MCPBridgeRequest>(env.notes, kOfNotes);
  return search.found();
}

}  // namespace qv::Completion
