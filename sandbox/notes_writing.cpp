// A write never changes what a note said before: it adds a revision.

#include <algorithm>

#include "base/text.h"
#include "notes_methods.h"

namespace qv::sandbox::methods {

namespace {

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

NotesReply revise(const NotesCall& call, std::string content, const std::string& usual_why) {
  RoomNote& note = *call.note;
  const std::int64_t number = note.revisions.empty() ? 1 : note.newest().number + 1;
  note.revisions.push_back(
      {number, call.caller->name, call.request.why.value_or(usual_why), "", std::move(content)});
  return notes_written("Wrote " + quoted(note.name) + ", r" + std::to_string(number) + ".");
}

bool has_notebook(const NotesCall& call, const std::string& name) {
  return std::ranges::find(call.thread.room.notebooks, name) != call.thread.room.notebooks.end();
}

NotesReply no_such_notebook(const std::string& name) {
  return notes_error("There is no notebook called " + quoted(name) + ".");
}

// What was done, and what notebooks there are now.
NotesReply with_notebooks(const NotesCall& call, std::string message) {
  NotesReply reply = notes_written(std::move(message));
  reply.notebooks.emplace();
  for (const std::string& name : call.thread.room.notebooks) {
    const auto held = std::ranges::count(call.thread.room.notes, name, &RoomNote::notebook);
    reply.notebooks->push_back({.id = std::nullopt,
                                .name = name,
                                .notes = held,
                                .access = "read and write",
                                .channelSpace = std::nullopt});
  }
  return reply;
}

std::size_t occurrences(std::string_view content, std::string_view wanted) {
  std::size_t count = 0;
  for (std::size_t at = content.find(wanted); at != std::string_view::npos;
       at = content.find(wanted, at + wanted.size())) {
    ++count;
  }
  return count;
}

std::string replaced(std::string_view content, std::string_view wanted, std::string_view fresh) {
  std::string out;
  for (std::size_t at; (at = content.find(wanted)) != std::string_view::npos;
       content.remove_prefix(at + wanted.size())) {
    out.append(content.substr(0, at)).append(fresh);
  }
  return out.append(content);
}

}  // namespace

NotesReply create_note(const NotesCall& call) {
  const std::string name(text::trimmed(call.request.name.value_or("")));
  if (name.empty()) return notes_error("A note needs a name.");
  if (call.thread.room.note(name) != nullptr) {
    return notes_error("There is a note called " + quoted(name) + " already. Update it instead.");
  }
  Room& room = call.thread.room;
  const std::string notebook = call.request.notebook.value_or(room.notebooks.front());
  if (!has_notebook(call, notebook)) return no_such_notebook(notebook);
  RoomNote& note = room.notes.emplace_back();
  note.name = name;
  note.description = call.request.description.value_or("");
  note.notebook = notebook;
  return revise({call.thread, call.caller, call.request, &note}, call.request.body.value_or(""),
                "created");
}

NotesReply update_note(const NotesCall& call) {
  return revise(call, call.request.body.value_or(""), "updated");
}

NotesReply append_note(const NotesCall& call) {
  std::string content = call.note->newest().content;
  if (!content.empty() && content.back() != '\n') content += '\n';
  return revise(call, content + call.request.body.value_or(""), "appended");
}

NotesReply edit_note(const NotesCall& call) {
  const std::string& content = call.note->newest().content;
  const std::string wanted = call.request.find.value_or("");
  const std::size_t count = wanted.empty() ? 0 : occurrences(content, wanted);
  if (count == 0) return notes_error("That text is not in " + quoted(call.note->name) + ".");
  if (count > 1 && !call.request.replaceAll.value_or(false)) {
    return notes_error("That text stands " + std::to_string(count) + " times in " +
                       quoted(call.note->name) + ". Give more of it, or --all.");
  }
  return revise(call, replaced(content, wanted, call.request.body.value_or("")), "edited");
}

NotesReply rename_note(const NotesCall& call) {
  const std::string name(text::trimmed(call.request.newName.value_or("")));
  if (name.empty()) return notes_error("A note needs a name.");
  if (call.thread.room.note(name) != nullptr) {
    return notes_error("There is a note called " + quoted(name) + " already.");
  }
  call.note->name = name;
  return notes_written("Renamed to " + quoted(name) + ".");
}

NotesReply delete_note(const NotesCall& call) {
  const std::string name = call.note->name;
  std::erase_if(call.thread.room.notes, [&](const RoomNote& note) { return note.name == name; });
  return notes_written("Deleted " + quoted(name) + ".");
}

NotesReply move_note(const NotesCall& call) {
  const std::string notebook = call.request.notebook.value_or("");
  if (!has_notebook(call, notebook)) return no_such_notebook(notebook);
  call.note->notebook = notebook;
  return notes_written("Moved " + quoted(call.note->name) + " to " + quoted(notebook) + ".");
}

NotesReply lock_note(const NotesCall& call) {
  call.note->read_only = true;
  return notes_written("Locked " + quoted(call.note->name) + ". Only the person can unlock it.");
}

NotesReply mark_milestone(const NotesCall& call) {
  const std::int64_t number = call.request.revision.value_or(call.note->newest().number);
  for (NoteRevision& revision : call.note->revisions) {
    if (revision.number != number) continue;
    revision.milestone = call.request.milestone.value_or("");
    return notes_written("r" + std::to_string(number) + " of " + quoted(call.note->name) + " is " +
                         quoted(revision.milestone) + ".");
  }
  return notes_error(quoted(call.note->name) + " has no r" + std::to_string(number) + ".");
}

NotesReply create_notebook(const NotesCall& call) {
  const std::string name(text::trimmed(call.request.name.value_or("")));
  if (name.empty()) return notes_error("A notebook needs a name.");
  if (has_notebook(call, name)) {
    return notes_error("There is a notebook called " + quoted(name) + " already.");
  }
  call.thread.room.notebooks.push_back(name);
  return with_notebooks(call, "Created the notebook " + quoted(name) + ".");
}

NotesReply rename_notebook(const NotesCall& call) {
  const std::string name = call.request.name.value_or("");
  const std::string fresh(text::trimmed(call.request.newName.value_or("")));
  if (!has_notebook(call, name)) return no_such_notebook(name);
  if (fresh.empty() || has_notebook(call, fresh)) {
    return notes_error("A notebook needs a name of its own.");
  }
  std::ranges::replace(call.thread.room.notebooks, name, fresh);
  for (RoomNote& note : call.thread.room.notes) {
    if (note.notebook == name) note.notebook = fresh;
  }
  return with_notebooks(call, "Renamed to " + quoted(fresh) + ".");
}

NotesReply delete_notebook(const NotesCall& call) {
  Room& room = call.thread.room;
  const std::string name = call.request.name.value_or("");
  if (!has_notebook(call, name)) return no_such_notebook(name);
  if (std::ranges::count(room.notes, name, &RoomNote::notebook) > 0) {
    return notes_error("There are notes in " + quoted(name) + ". Move or delete them first.");
  }
  if (room.notebooks.size() == 1) return notes_error("The last notebook stays.");
  std::erase(room.notebooks, name);
  return with_notebooks(call, "Deleted the notebook " + quoted(name) + ".");
}

}  // namespace qv::sandbox::methods
