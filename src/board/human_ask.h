#pragma once

#include <optional>
#include <string>
#include <vector>

// A blocker's question may carry, in front of its text, what kind of answer is wanted:
// "[[ask:" + one compact JSON object + "]] " + the question.
namespace qv::TeamworkHumanAsk {

struct Ask {
  std::string kind;  // "decision", "approval", "secret", "review"; anything else is "respond"
  std::vector<std::string> options;
  std::string secret_name;
  std::string artifact;
  std::string consequence;
};

// The text for `blockerQuestion`. A plain question ("respond" and nothing else given)
// comes back unchanged.
[[nodiscard]] std::string encoded(const Ask& ask, const std::string& question);

}  // namespace qv::TeamworkHumanAsk
