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

// Answers poll by poll; the terminal closes behind the last answer.
class World : public WaitWorld {
 public:
  World(std::vector<std::string> replies, const WaitOptions& options)
      : replies_(std::move(replies)), options_(options) {}

  double monotonic() override { return now_; }
  double wall_clock() override { return now_; }
  void sleep(double seconds) override {
    promise(seconds >= 0 && seconds <= 1, "a pause is short");
    now_ += seconds;
  }
  bool parent_has_gone() override { return next_ == replies_.size(); }
  bool reader_has_gone() override { return false; }
  bool socket_exists() override { return true; }

  std::optional<std::string> exchange(const TeamworkRequest& request, double seconds) override {
    if (next_ == 0) check_stable(request);
    promise(seconds >= 0, "an exchange has some time");
    now_ += 0.25;
    if (request.method == "heartbeat") return std::nullopt;
    reply_ = record::from_text<TeamworkResponse>(replies_[next_]);
    return replies_[next_++];
  }
  std::int64_t cursor() override { return 0; }
  void save_cursor(std::int64_t rev) override {
    promise(reply_ && reply_->changes && reply_->changes->rev == rev, "the cursor is the board's");
  }
  bool out(std::string_view text) override {
    check_printed(text);
    if (!options_.follow) return true;
    const bool is_move = reply_ && reply_->kind == TeamworkResponse::Kind::changes;
    if (is_move && !options_.json) check_line(text);
    if (options_.json)
      promise(json::parse(text) && text.find('\n') == text.npos, "a JSON line", text);
    return true;
  }
  void err(std::string_view text) override { check_printed(text); }

 private:
  std::vector<std::string> replies_;
  const WaitOptions& options_;
  std::size_t next_ = 0;
  std::optional<TeamworkResponse> reply_;  // the last one
  double now_ = 1e6;
};

// As they come over sockets: one a line. Or one that is made up.
std::vector<std::string> replies_of(std::string_view bytes) {
  std::vector<std::string> replies;
  if (bytes.starts_with('{')) {
    for (const auto line : text::split(bytes, '\n')) replies.emplace_back(line);
    return replies;
  }
  Input in(bytes);
  do {
    TeamworkResponse made{.kind = TeamworkResponse::Kind::changes};
    fill(in, made.changes.emplace());
    replies.push_back(record::to_text(made));
  } while (!in.empty() && replies.size() < 5);
  return replies;
}

}  // namespace

void try_input(std::string_view bytes) {
  const auto replies = replies_of(bytes);
  for (const bool follow : {true, false}) {
    for (const bool json : {true, false}) {
      const WaitOptions options{.json = json, .follow = follow, .timeout_seconds = 60};
      World world(replies, options);
      (void)wait(options, world);
    }
  }
}

}  // namespace qv::fuzz
