// The answer a person is asked for has a kind, choices and limits; they travel in front of the
// question, so that a board which does not know them still shows the question.

#include "board/human_ask.h"

#include <algorithm>
#include <optional>

#include "base/record.h"
#include "base/text.h"

namespace qv {

namespace TeamworkHumanAsk {

// What rides in the question, in the order of its keys.
struct Payload {
  std::optional<std::string> artifact;
  std::optional<std::string> consequence;
  std::string kind;
  std::optional<std::vector<std::string>> options;
  std::optional<std::string> secret_name;
};

}  // namespace TeamworkHumanAsk

template <>
struct record::Schema<TeamworkHumanAsk::Payload> {
  using Payload = TeamworkHumanAsk::Payload;
  static constexpr auto fields = std::tuple{
      optional("a", &Payload::artifact),    optional("c", &Payload::consequence),
      required("k", &Payload::kind),        optional("o", &Payload::options),
      optional("s", &Payload::secret_name),
  };
};

namespace TeamworkHumanAsk {

namespace {

constexpr std::size_t kMostOptions = 4;
constexpr std::size_t kLongestOption = 80;
constexpr std::size_t kLongestSecretName = 64;
constexpr std::size_t kLongestArtifact = 200;
constexpr std::size_t kLongestConsequence = 160;

std::optional<std::string> cut(const std::string& text, std::size_t characters) {
  if (text.empty()) return std::nullopt;
  return std::string(text::first_characters(text, characters));
}

std::optional<std::vector<std::string>> cut_options(const std::vector<std::string>& options) {
  std::vector<std::string> kept;
  for (const std::string& option : options) {
    if (option.empty() || kept.size() == kMostOptions) continue;
    kept.emplace_back(text::first_characters(option, kLongestOption));
  }
  return kept.empty() ? std::nullopt : std::optional(std::move(kept));
}

}  // namespace

bool is_kind(std::string_view word) { return std::ranges::find(kKinds, word) != kKinds.end(); }

std::string encoded(const Ask& ask, const std::string& question) {
  const Payload payload{
      .artifact = cut(ask.artifact, kLongestArtifact),
      .consequence = cut(ask.consequence, kLongestConsequence),
      .kind = is_kind(ask.kind) ? ask.kind : std::string(kPlainKind),
      .options = cut_options(ask.options),
      .secret_name = cut(ask.secret_name, kLongestSecretName),
  };
  const bool plain = payload.kind == kPlainKind && !payload.options && !payload.secret_name &&
                     !payload.artifact && !payload.consequence;
  if (plain) return question;
  return "[[ask:" + record::to_text(payload) + "]] " + question;
}

}  // namespace TeamworkHumanAsk

}  // namespace qv
