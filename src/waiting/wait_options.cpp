#include "waiting/wait_options.h"

#include "base/text.h"

namespace qv::waiting {

namespace {

class Reader {
 public:
  explicit Reader(const std::vector<std::string>& arguments) : arguments_(arguments) {}

  std::variant<WaitOptions, UsageError> run() {
    while (next_ < arguments_.size()) {
      const std::string& argument = arguments_[next_++];
      if (const std::string problem = take(argument); !problem.empty()) return UsageError{problem};
    }
    if (options_.stand_down && options_.follow) {
      return UsageError{
          "qv wait: --stand-down and --follow are opposites. --follow keeps you working while you "
          "listen; --stand-down parks you off the pool until somebody names you. Pick one."};
    }
    return options_;
  }

 private:
  // What is wrong with the argument; empty when nothing is.
  std::string take(const std::string& argument) {
    if (argument == "--json") return set(options_.json);
    if (argument == "--follow") return set(options_.follow);
    if (argument == "--stand-down") return set(options_.stand_down);
    if (argument == "--wake-on-claims") return set(options_.wake_on_claims);
    if (argument == "--timeout") return take_timeout();
    if (argument == "--scope") return take_scope();
    if (argument == "--park-reason") return take_park_reason();
    if (argument == "--since") return take_since();
    return "qv wait: unknown flag \"" + argument + "\". Run `qv wait --help`.";
  }

  static std::string set(bool& option) {
    option = true;
    return "";
  }

  const std::string* value() { return next_ < arguments_.size() ? &arguments_[next_++] : nullptr; }

  std::optional<std::int64_t> number() {
    const std::string* text = value();
    return text == nullptr ? std::nullopt : text::whole_number(*text);
  }

  std::string take_timeout() {
    options_.timeout_seconds = number();
    if (options_.timeout_seconds.value_or(0) > 0) return "";
    return "qv wait: --timeout needs a positive number of seconds.";
  }

  std::string take_scope() {
    std::vector<std::string> ids;
    if (const std::string* list = value()) {
      for (const std::string_view id : text::split(*list, ',')) {
        if (!id.empty()) ids.emplace_back(id);
      }
    }
    if (ids.empty()) return "qv wait: --scope needs task ids.";
    options_.scope = std::move(ids);
    return "";
  }

  std::string take_park_reason() {
    const std::string* reason = value();
    if (reason == nullptr) return "qv wait: --park-reason needs text.";
    options_.park_reason = *reason;
    return "";
  }

  std::string take_since() {
    options_.since = number();
    return options_.since ? "" : "qv wait: --since needs a revision.";
  }

  const std::vector<std::string>& arguments_;
  std::size_t next_ = 0;
  WaitOptions options_;
};

}  // namespace

std::variant<WaitOptions, UsageError> parse_wait_options(
    const std::vector<std::string>& arguments) {
  return Reader(arguments).run();
}

}  // namespace qv::waiting
