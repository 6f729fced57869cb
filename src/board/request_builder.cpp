// Which flag fills which field is a table; what is more than that is code: the main text of
// each method, the goal, and the question to the human.

#include "board/request_builder.h"

#include "base/text.h"
#include "board/human_ask.h"
#include "command/flag_fields.h"

namespace qv::TeamworkRequestBuilder {

namespace {

using Request = TeamworkRequest;

template <class Value>
using Field = FlagField<Request, Value>;

constexpr Field<std::string> kTexts[] = {
    {&Request::name, "name"},
    {&Request::role, "role"},
    {&Request::reviewOfFingerprint, "ofAgent"},
    {&Request::reviewOfRole, "ofRole"},
    {&Request::taskType, "type"},
    {&Request::assignedRole, "assignedRole"},
    {&Request::routedToFingerprint, "routedToFingerprint"},
    {&Request::to, "to"},
    {&Request::command, "command"},
    {&Request::explanation, "explanation"},
    {&Request::status, "status"},
    {&Request::taskID, "taskID"},
    {&Request::title, "title"},
    {&Request::parkReason, "parkReason"},
    {&Request::summary, "summary"},
    {&Request::releaseReason, "reason"},
    {&Request::discussionID, "discussionID"},
};
constexpr Field<std::int64_t> kIntegers[] = {
    {&Request::priority, "priority"},
};
constexpr Field<bool> kBooleans[] = {
    {&Request::approve, "approve"},
    {&Request::blocked, "blocked"},
    {&Request::editLast, "editLast"},
};
constexpr Field<std::vector<std::string>> kLists[] = {
    {&Request::waitsOn, "waitsOn"},
};

struct MainText {
  std::string_view method;
  std::string_view flag;
};

// The flag that carries a method's main text, its `body`; "body" for all others.
constexpr MainText kMainTexts[] = {
    {"open_discussion", "question"},      {"reply_discussion", "text"},
    {"resolve_discussion", "resolution"}, {"send_message", "text"},
    {"request_hands", "brief"},           {"suggest_helper", "reason"},
};

std::string_view main_text_flag(std::string_view method) {
  for (const MainText& row : kMainTexts) {
    if (row.method == method) return row.flag;
  }
  return "body";
}

// The first of these flags that was given.
std::optional<std::string> first_text(const ArgBox& flags,
                                      std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names) {
    if (auto value = flags.text(name)) return value;
  }
  return std::nullopt;
}

std::optional<std::vector<std::string>> first_list(const ArgBox& flags, std::string_view name,
                                                   std::string_view fallback) {
  auto values = flags.list(name);
  return values ? values : flags.list(fallback);
}

// The goal and, behind it, whatever was said about it; empty when there is no goal.
std::string goal_text(const ArgBox& flags) {
  constexpr std::pair<std::string_view, std::string_view> kSections[] = {
      {"purpose", "Purpose: "},
      {"constraints", "Constraints: "},
      {"nonGoals", "Non-goals: "},
      {"acceptableRisk", "Acceptable risk: "},
  };
  const std::string given = first_text(flags, {"description", "name"}).value_or("");
  std::string goal(text::trimmed(given));
  if (goal.empty()) return goal;
  for (const auto& [flag, label] : kSections) {
    const auto section = flags.text(flag);
    if (section && !section->empty()) goal.append(" — ").append(label).append(*section);
  }
  return goal;
}

constexpr std::size_t kLongestQuestion = 140;

std::string question_too_long(std::size_t count) {
  return "blockerQuestion is " + std::to_string(count) + " characters; the limit is " +
         std::to_string(kLongestQuestion) +
         ". "
         "It renders as ONE LINE on a chip and on a phone, so a longer one reaches "
         "the human truncated mid-sentence and they cannot tell what you are asking. "
         "Rewrite it as a single sentence naming the ACTION you need (\"May I …?\", "
         "\"Which …?\"), and move the mechanism, the reasoning and the detail into "
         "--blockerConsequence or the task body. Nothing was changed; run it again.";
}

TeamworkHumanAsk::Ask ask_from(const ArgBox& flags) {
  const auto text = [&](std::string_view name) { return flags.text(name).value_or(""); };
  return {
      .kind = text::lowered(text("blockerKind")),
      .options = flags.list("blockerOptions").value_or(std::vector<std::string>{}),
      .secret_name = text("blockerSecretName"),
      .artifact = text("blockerArtifact"),
      .consequence = text("blockerConsequence"),
  };
}

std::string unknown_kind(const ArgBox& flags) {
  const auto kind = flags.text("blockerKind");
  if (!kind || TeamworkHumanAsk::is_kind(text::lowered(*kind))) return "";
  return "qv: --blockerKind \"" + *kind + "\" is none of " +
         text::joined(TeamworkHumanAsk::kKinds, ", ") + ", so the question is sent as " +
         std::string(TeamworkHumanAsk::kPlainKind) + ".";
}

}  // namespace

Outcome build(std::string_view method, const ArgBox& flags) {
  Request request;
  request.method = method;

  request.body = flags.text(main_text_flag(method));
  if (method == "set_goal") {
    request.body = goal_text(flags);
    if (request.body->empty()) {
      return Refused{
          "qv goal needs the goal itself: qv goal \"what this board is working toward\"."};
    }
  }
  if (const auto question = flags.text("blockerQuestion")) {
    const std::size_t count = text::count_characters(text::trimmed(*question));
    if (count > kLongestQuestion) return Refused{question_too_long(count)};
    request.blockerQuestion = TeamworkHumanAsk::encoded(ask_from(flags), *question);
  }

  fill(request, flags, kTexts);
  fill(request, flags, kIntegers);
  fill(request, flags, kBooleans);
  fill(request, flags, kLists);
  request.resources = first_list(flags, "resource", "resources");
  request.tags = first_list(flags, "addressTo", "tags");
  request.note = first_text(flags, {"text", "progress", "note"});
  if (method == "request_hands") request.agent = flags.text("agent");
  if (method == "suggest_helper") request.agent = flags.text("name");
  return request;
}

std::string warning(const ArgBox& flags) {
  if (flags.has("blockerQuestion")) return unknown_kind(flags);
  std::vector<std::string> unused;
  for (const std::string_view name : {"blockerKind", "blockerOptions", "blockerSecretName",
                                      "blockerArtifact", "blockerConsequence"}) {
    if (flags.has(name)) unused.push_back("--" + std::string(name));
  }
  if (unused.empty()) return "";
  return "qv: --blockerQuestion is missing, so these were not sent: " + text::joined(unused, ", ") +
         ".";
}

}  // namespace qv::TeamworkRequestBuilder
