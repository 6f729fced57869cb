#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

// A blocker's question may carry, in front of its text, what kind of answer is wanted:
// "[[ask:" + one compact JSON object + "]] " + the question.
namespace qv::TeamworkHumanAsk {

inline constexpr std::string_view kPlainKind = "respond";
inline constexpr std::array<std::string_view, 5> kKinds{"decision", "approval", "secret", "review",
                                                        kPlainKind};

[[nodiscard]] bool is_kind(std::string_view word);

struct Ask {
  std::string kind;  // one of kKinds; anything else counts as the plain kind
  std::vector<std::string> options;
  std::string secret_name;
  std::string artifact;
  std::string consequence;
};

// The text for `blockerQuestion`. A question of the plain kind, with nothing else given,
// comes back unchanged.
[[nodiscard]] std::string encoded(const Ask& ask, const std::string& question);

}  // namespace qv::TeamworkHumanAsk
