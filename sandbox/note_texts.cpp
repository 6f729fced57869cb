// What a note says, and where it lies. A write never changes what a note said before: it adds a
// revision. Pages are cut by the program that asked, not here.

#include <algorithm>

#include "base/text.h"
#include "notes.h"

namespace qv::sandbox {

namespace {

using Reply = MCPBridgeResponse;
using Kind = MCPBridgeResponse::Kind;
using namespace notes_reply;

// The section of this title, heading included, up to the next one; empty when there is none.
std::string section_of(const Note& note, std::string_view title) {
  std::string section;
  bool inside = false;
  for (const std::string_view line : text::split(note.revisions.back().content, '\n')) {
    const std::string heading = title_of(line);
    if (!heading.empty()) inside = text::equal_ignoring_case(heading, title);
    if (inside) section.append(section.empty() ? "" : "\n").append(line);
  }
  return section;
}

Reply list_notes(const NotesCall& call) {
  Reply reply{.kind = Kind::notes, .notes = std::vector<MCPNoteSummary>()};
  for (const Note& note : call.thread.notes) {
    const bool meant = !call.request.name || note.name == call.name;
    const bool has_section =
        !call.request.section || !section_of(note, *call.request.section).empty();
    if (meant && has_section) reply.notes->push_back(note);
  }
  return reply;
}

Reply read_note(const NotesCall& call) {
  const Note& note = *call.note;
  const auto& section = call.request.section;
  MCPNoteBody body{.name = note.name,
                   .section = section,
                   .content = section ? section_of(note, *section) : note.revisions.back().content,
                   .notebook = note.notebook,
                   .lastEditedBy = note.lastEditedBy,
                   .readOnly = note.readOnly};
  if (section && body.content.empty()) {
    return refused("There is no section called " + quoted(*section) + " in " + quoted(note.name) +
                   ".");
  }
  return {.kind = Kind::note, .note = std::move(body)};
}

Reply create_note(const NotesCall& call) {
  if (call.note != nullptr) return refused("There is a note called " + quoted(call.name) + ".");
  Note& note = call.thread.notes.emplace_back();
  note.name = call.name;
  note.summary = call.request.description.value_or("");
  note.notebook = call.thread.notebooks.front();
  return revise(call, note, call.body, "created");
}

Reply update_note(const NotesCall& call) { return revise(call, *call.note, call.body, "updated"); }

Reply append_note(const NotesCall& call) {
  std::string content = call.note->revisions.back().content;
  if (!content.empty() && content.back() != '\n') content += '\n';
  return revise(call, *call.note, content + call.body, "appended");
}

Reply edit_note(const NotesCall& call) {
  std::string content = call.note->revisions.back().content;
  const std::string wanted = call.request.find.value_or("");
  std::size_t at = content.find(wanted);
  if (wanted.empty() || at == std::string::npos) return refused("That text is not in the note.");
  const bool once = content.find(wanted, at + wanted.size()) == std::string::npos;
  if (!once && call.request.replaceAll != true) {
    return refused("That text stands there more than once. Give more of it, or --all.");
  }
  for (; at != std::string::npos; at = content.find(wanted, at + call.body.size())) {
    content.replace(at, wanted.size(), call.body);
  }
  return revise(call, *call.note, content, "edited");
}

Reply rename_note(const NotesCall& call) {
  const std::string fresh = call.request.newName.value_or("");
  if (call.thread.note(fresh)) return refused("There is a note called " + quoted(fresh) + ".");
  call.note->name = fresh;
  return written("Renamed to " + quoted(fresh) + ".");
}

Reply delete_note(const NotesCall& call) {
  std::erase_if(call.thread.notes, [&](const Note& note) { return note.name == call.name; });
  return written("Deleted " + quoted(call.name) + ".");
}

Reply move_note(const NotesCall& call) {
  const std::string notebook = call.request.notebook.value_or("");
  if (!contains(call.thread.notebooks, notebook))
    return refused("There is no notebook called " + quoted(notebook) + ".");
  call.note->notebook = notebook;
  return written("Moved " + quoted(call.name) + " to " + quoted(notebook) + ".");
}

constexpr NotesMethod kMethods[] = {
    {"list_notes", NotesNeed::pane, list_notes},
    {"read_note", NotesNeed::known_note, read_note},
    {"create_note", NotesNeed::pane, create_note},
    {"update_note", NotesNeed::unlocked_note, update_note},
    {"append_note", NotesNeed::unlocked_note, append_note},
    {"edit_note", NotesNeed::unlocked_note, edit_note},
    {"rename_note", NotesNeed::unlocked_note, rename_note},
    {"delete_note", NotesNeed::unlocked_note, delete_note},
    {"move_note", NotesNeed::note, move_note},
};

}  // namespace

std::string title_of(std::string_view line) {
  const std::size_t marks = line.find_first_not_of('#');
  const bool heading = marks != 0 && marks != std::string_view::npos && line[marks] == ' ';
  return heading ? std::string(text::trimmed(line.substr(marks))) : "";
}

std::span<const NotesMethod> text_methods() { return kMethods; }

}  // namespace qv::sandbox
