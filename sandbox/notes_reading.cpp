// Looking at the room. Pages are cut by the program that asked, not here.

#include <algorithm>

#include "base/text.h"
#include "notes_methods.h"

namespace qv::sandbox::methods {

namespace {

bool has_section(const RoomNote& note, const std::string& title) {
  return std::ranges::any_of(sections(note.newest().content), [&](const std::string& section) {
    return text::equal_ignoring_case(section, title);
  });
}

// The revision after which the history is asked for; 0 for all of it.
std::int64_t asked_since(const NotesCall& call) {
  std::int64_t since = call.request.after.value_or(0);
  for (const NoteRevision& revision : call.note->revisions) {
    if (!revision.milestone.empty() && revision.milestone == call.request.milestone) {
      since = revision.number;
    }
  }
  return since;
}

}  // namespace

NotesReply list_notes(const NotesCall& call) {
  NotesReply reply;
  reply.kind = NotesReply::Kind::notes;
  reply.notes.emplace();
  for (const RoomNote& note : call.thread.room.notes) {
    if (call.request.name && note.name != *call.request.name) continue;
    if (call.request.section && !has_section(note, *call.request.section)) continue;
    const std::string& content = note.newest().content;
    reply.notes->push_back({.name = note.name,
                            .summary = note.description,
                            .sections = sections(content),
                            .notebook = note.notebook,
                            .notebookId = std::nullopt,
                            .lines = line_count(content),
                            .lastEditedBy = note.newest().author,
                            .readOnly = note.read_only,
                            .home = std::nullopt});
  }
  return reply;
}

NotesReply read_note(const NotesCall& call) {
  const RoomNote& note = *call.note;
  NotesReply reply;
  if (call.request.section && !has_section(note, *call.request.section)) return reply;
  reply.kind = NotesReply::Kind::note;
  MCPNoteBody& body = reply.note.emplace();
  body.name = note.name;
  body.section = call.request.section;
  body.content =
      body.section ? section_of(note.newest().content, *body.section) : note.newest().content;
  body.notebook = note.notebook;
  body.lastEditedBy = note.newest().author;
  body.readOnly = note.read_only;
  return reply;
}

NotesReply note_history(const NotesCall& call) {
  const auto& revisions = call.note->revisions;
  const std::int64_t since = asked_since(call);
  if (call.request.milestone && since == 0) {
    return notes_error("\"" + call.note->name + "\" has no milestone \"" + *call.request.milestone +
                       "\".");
  }
  std::string out;
  std::string_view base;
  for (const NoteRevision& revision : revisions) {
    if (revision.number == since) base = revision.content;
    if (revision.number <= since) continue;
    if (!out.empty()) out += '\n';
    out += "r" + std::to_string(revision.number) + "  " + revision.author + "  " + revision.why;
    if (!revision.milestone.empty()) out += "  [" + revision.milestone + "]";
  }
  if (out.empty()) return notes_written("Nothing newer than r" + std::to_string(since) + ".");
  if (since > 0) out += "\n\n" + difference(base, revisions.back().content);
  return notes_written(out);
}

}  // namespace qv::sandbox::methods
