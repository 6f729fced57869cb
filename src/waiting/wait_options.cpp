#include "waiting/wait_options.h"

#include <algorithm>

#include "base/text.h"

namespace qv::waiting {

namespace {

class Reader {
 public:
  explicit Reader(const std::vector<std::string>& arguments) : arguments_(arguments) {}

  std::variant<WaitOptions, UsageError> run() {
    while (next_ < arguments_.size()) {
      const std::string& argument = arguments_[next_++];
      const auto flag = std::ranges::find(kFlags, argument, &KnownFlag::name);
      if (flag == std::end(kFlags)) {
        return UsageError{"qv wait: unknown flag \"" + argument + "\". Run `qv wait --help`.",
                          argument};
      }
      const std::string problem = flag->take(*this);
      if (!problem.empty()) return UsageError{problem};
    }
    if (options_.stand_down && options_.follow) {
      return UsageError{
          "qv wait: --stand-down and --follow are opposites. --follow keeps you working while you "
          "listen; --stand-down parks you off the pool until somebody names you. Pick one."};
    }
    return options_;
  }

 private:
  // Each take says what is wrong with the flag; nothing when it is right.
  struct KnownFlag {
    std::string_view name;
    std::string (*take)(Reader& reader);
  };
  static const KnownFlag kFlags[8];

  template <bool WaitOptions::*Option>
  static std::string set(Reader& reader) {
    reader.options_.*Option = true;
    return "";
  }

  template <std::string (Reader::*Take)()>
  static std::string call(Reader& reader) {
    return (reader.*Take)();
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

constexpr Reader::KnownFlag Reader::kFlags[] = {
    {"--json", &set<&WaitOptions::json>},
    {"--follow", &set<&WaitOptions::follow>},
    {"--stand-down", &set<&WaitOptions::stand_down>},
    {"--wake-on-claims", &set<&WaitOptions::wake_on_claims>},
    {"--timeout", &call<&Reader::take_timeout>},
    {"--scope", &call<&Reader::take_scope>},
    {"--park-reason", &call<&Reader::take_park_reason>},
    {"--since", &call<&Reader::take_since>},
};

}  // namespace

std::variant<WaitOptions, UsageError> parse_wait_options(
    const std::vector<std::string>& arguments) {
  return Reader(arguments).run();
}

}  // namespace qv::waiting
