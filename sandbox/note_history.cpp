// How a note came to say what it says: who wrote each revision, when and why, which of them were
// handed off, and what has changed since one of them. A lock keeps it as it is.

#include <algorithm>
#include <array>
#include <ctime>

#include "base/text.h"
#include "line_diff.h"
#include "notes.h"
#include "platform/clock.h"

namespace qv::sandbox {

namespace {

using Reply = MCPBridgeResponse;
using Kind = MCPBridgeResponse::Kind;
using namespace notes_reply;

std::string date_of(const Revision& revision) {
  const auto seconds = static_cast<std::time_t>(revision.at);
  std::tm parts{};
  std::array<char, 32> date{};
  ::gmtime_r(&seconds, &parts);
  std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%SZ", &parts);
  return date.data();
}

std::string row(const Revision& revision) {
  return "r" + std::to_string(revision.number) + "  " + revision.author + "  " + date_of(revision) +
         "  " + revision.why +
         (revision.milestone.empty() ? "" : "  [" + revision.milestone + "]") + "\n";
}

// All revisions, or those after one and what they changed.
Reply note_history(const NotesCall& call) {
  const auto& revisions = call.note->revisions;
  const auto& milestone = call.request.milestone;
  auto since = revisions.rend();
  if (milestone) {
    since = std::find_if(revisions.rbegin(), revisions.rend(),
                         [&](const Revision& each) { return each.milestone == *milestone; });
    if (since == revisions.rend()) return refused("There is no such milestone.");
  } else if (call.request.after) {
    since = std::find_if(revisions.rbegin(), revisions.rend(),
                         [&](const Revision& each) { return each.number <= *call.request.after; });
  }
  std::string out;
  for (auto each = since.base(); each != revisions.end(); ++each) out += row(*each);
  if (out.empty()) return written("Nothing newer than r" + std::to_string(since->number) + ".");
  if (since == revisions.rend()) return written(out);
  const std::string changes = line_diff(since->content, revisions.back().content);
  return written(out + "\nSince r" + std::to_string(since->number) + ":\n" +
                 (changes.empty() ? "It says the same.\n" : changes));
}

Reply lock_note(const NotesCall& call) {
  if (call.note->readOnly == true) return written(quoted(call.name) + " is locked already.");
  call.note->readOnly = true;
  call.note->lock_reason = call.request.why.value_or("");
  return written("Locked " + quoted(call.name) + ". Only the person can unlock it.");
}

Reply mark_milestone(const NotesCall& call) {
  auto& revisions = call.note->revisions;
  const std::int64_t number = call.request.revision.value_or(revisions.back().number);
  const auto found = std::ranges::find(revisions, number, &Revision::number);
  const std::string revision = "r" + std::to_string(number) + " of " + quoted(call.name);
  if (found == revisions.end()) return refused("There is no " + revision + ".");
  found->milestone = call.request.milestone.value_or("");
  return written(revision + " is " + quoted(found->milestone) + ".");
}

constexpr NotesMethod kMethods[] = {
    {"note_history", NotesNeed::known_note, note_history},
    {"lock_note", NotesNeed::known_note, lock_note},
    {"mark_milestone", NotesNeed::known_note, mark_milestone},
};

}  // namespace

MCPBridgeResponse revise(const NotesCall& call, Note& note, const std::string& content,
                         const char* usual_why) {
  const auto number = static_cast<std::int64_t>(note.revisions.size()) + 1;
  note.revisions.push_back({number, call.caller->name, call.request.why.value_or(usual_why),
                            platform::wall_clock_seconds(), "", content});
  note.lastEditedBy = call.caller->name;
  note.lines = std::ranges::count(content, '\n') + !(content.empty() || content.ends_with('\n'));
  note.sections.clear();
  for (const std::string_view line : text::split(content, '\n')) {
    if (const std::string title = title_of(line); !title.empty()) note.sections.push_back(title);
  }
  return notes_reply::written("Wrote " + notes_reply::quoted(note.name) + ", r" +
                              std::to_string(number) + ".");
}

std::span<const NotesMethod> history_methods() { return kMethods; }

}  // namespace qv::sandbox
