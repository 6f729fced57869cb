// Who follows the board reads a stream line by line. Whatever the board answers, poll by poll,
// each move is one line of it, and the place to go on from is the last one that was told.

#include "base/text.h"
#include "board/response.h"
#include "support/support.h"
#include "waiting/wait_loop.h"
#include "waiting/wait_output.h"

namespace qv::fuzz {

namespace {

using namespace waiting;

struct Answer {
  std::string json;
  std::optional<TeamworkResponse> response;
};

// Answers poll by poll; the terminal closes behind the last answer.
class World : public WaitWorld {
 public:
  World(const std::vector<Answer>& answers, const WaitOptions& options)
      : answers_(answers), options_(options) {}

  double monotonic() override { return now_; }
  double wall_clock() override { return now_; }
  void sleep(double seconds) override {
    promise(seconds >= 0 && seconds <= 1, "a pause is short");
    now_ += seconds;
  }
  bool parent_has_gone() override { return next_ == answers_.size(); }
  bool reader_has_gone() override { return false; }
  bool socket_exists() override { return true; }

  std::optional<std::string> exchange(const TeamworkRequest& request, double seconds) override {
    if (next_ == 0) check_stable(request);
    promise(seconds >= 0, "an exchange has some time");
    now_ += 0.25;
    if (request.method == "heartbeat") return std::nullopt;
    const auto& [json, response] = answers_[next_++];
    response_ = response ? &*response : nullptr;
    return json;
  }
  std::int64_t cursor() override { return 0; }
  void save_cursor(std::int64_t rev) override {
    promise(response_ != nullptr && response_->changes && response_->changes->rev == rev,
            "the cursor is the board's");
  }
  bool out(std::string_view text) override {
    const bool is_move = response_ != nullptr && response_->kind == TeamworkResponse::Kind::changes;
    const bool is_line = options_.follow && is_move && !options_.json;
    is_line ? check_line(text) : check_printed(text);
    if (!options_.follow || !options_.json) return true;
    promise(json::parse(text) && text.find('\n') == text.npos, "a JSON line", text);
    return true;
  }
  void err(std::string_view text) override { check_printed(text); }

 private:
  const std::vector<Answer>& answers_;
  const WaitOptions& options_;
  std::size_t next_ = 0;
  const TeamworkResponse* response_ = nullptr;  // the last one; null unless it can be read
  double now_ = 1e6;
};

// As they come over sockets: one a line. Or some that are made up.
std::vector<Answer> answers_of(std::string_view bytes) {
  std::vector<Answer> answers;
  const auto add = [&](std::string_view json) {
    answers.push_back({std::string(json), record::from_text<TeamworkResponse>(json)});
  };
  if (bytes.starts_with('{')) {
    std::ranges::for_each(text::split(bytes, '\n'), add);
    return answers;
  }
  Input in(bytes);
  do {
    TeamworkResponse made{.kind = TeamworkResponse::Kind::changes};
    fill(in, made.changes.emplace());
    add(record::to_text(made));
  } while (!in.empty() && answers.size() < 5);
  return answers;
}

}  // namespace

void try_input(std::string_view bytes) {
  const auto answers = answers_of(bytes);
  for (const bool follow : {true, false}) {
    for (const bool json : {true, false}) {
      const WaitOptions options{.json = json, .follow = follow, .timeout_seconds = 60};
      World world(answers, options);
      (void)wait(options, world);
    }
  }
}

}  // namespace qv::fuzz
