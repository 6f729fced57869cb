// The notes bridge. A write never changes what a note said before: it adds a revision. Pages
// are cut by the program that asked, not here. Through the same bridge an agent from outside
// comes to sit at the board: a code, shown to the person, admits one agent once; the secret it
// is given then admits it ever after.

#include <algorithm>

#include "base/text.h"
#include "notes/request.h"
#include "thread.h"

namespace qv::sandbox {

namespace {

using Reply = MCPBridgeResponse;
using Kind = MCPBridgeResponse::Kind;

struct Call {
  Thread& thread;
  Pane* caller;  // null for an agent that is not admitted yet
  const MCPBridgeRequest& request;
  Note* note;        // the one the request names; null when there is none
  std::string name;  // what it names, whether there is one or not
  std::string body;
};

// Each asks for those before it, too. Without its note a known_note is "empty".
enum class Needs { nothing, pane, known_note, note, unlocked_note };

struct Method {
  std::string_view name;
  Needs needs;
  Reply (*answer)(const Call&);
};

Reply written(const std::string& message) { return {.kind = Kind::written, .message = message}; }
Reply refused(const std::string& sentence) { return {.kind = Kind::error, .message = sentence}; }

// An object and no function, so that a call with a string does not find std::quoted as well.
constexpr auto quoted = [](const std::string& name) { return "\"" + name + "\""; };

// The title of a Markdown heading; empty for any other line.
std::string title_of(std::string_view line) {
  const std::size_t marks = line.find_first_not_of('#');
  const bool heading = marks != 0 && marks != std::string_view::npos && line[marks] == ' ';
  return heading ? std::string(text::trimmed(line.substr(marks))) : "";
}

// The section of this title, heading included, up to the next one; empty when there is none.
std::string section_of(const Note& note, std::string_view title) {
  std::string section;
  bool inside = false;
  for (const std::string_view line : text::split(note.revisions.back().content, '\n')) {
    const std::string heading = title_of(line);
    if (!heading.empty()) inside = text::equal_ignoring_case(heading, title);
    if (inside) section.append(line).append("\n");
  }
  return section;
}

Reply list_notes(const Call& call) {
  Reply reply{.kind = Kind::notes, .notes = std::vector<MCPNoteSummary>()};
  for (const Note& note : call.thread.notes) {
    const bool meant = !call.request.name || note.name == call.name;
    const bool has_section =
        !call.request.section || !section_of(note, *call.request.section).empty();
    if (meant && has_section) reply.notes->push_back(note);
  }
  return reply;
}

Reply read_note(const Call& call) {
  const Note& note = *call.note;
  const auto& section = call.request.section;
  MCPNoteBody body{.name = note.name,
                   .section = section,
                   .content = section ? section_of(note, *section) : note.revisions.back().content,
                   .notebook = note.notebook,
                   .lastEditedBy = note.lastEditedBy,
                   .readOnly = note.readOnly};
  if (section && body.content.empty()) return {};
  return {.kind = Kind::note, .note = std::move(body)};
}

Reply note_history(const Call& call) {
  std::int64_t after = call.request.after.value_or(0);
  for (const Revision& revision : call.note->revisions) {
    if (revision.milestone == call.request.milestone) after = revision.number;
  }
  if (call.request.milestone && after == 0) return refused("There is no such milestone.");
  std::string out;
  for (const Revision& revision : call.note->revisions) {
    if (revision.number <= after) continue;
    out += "r" + std::to_string(revision.number) + "  " + revision.author + "  " + revision.why;
    out += revision.milestone.empty() ? "\n" : "  [" + revision.milestone + "]\n";
  }
  return written(out.empty() ? "Nothing newer than r" + std::to_string(after) + "." : out);
}

Reply lock_note(const Call& call) {
  call.note->readOnly = true;
  return written("Locked " + quoted(call.name) + ". Only the person can unlock it.");
}

Reply mark_milestone(const Call& call) {
  auto& revisions = call.note->revisions;
  const std::int64_t number = call.request.revision.value_or(revisions.back().number);
  const auto found = std::ranges::find(revisions, number, &Revision::number);
  const std::string revision = "r" + std::to_string(number) + " of " + quoted(call.name);
  if (found == revisions.end()) return refused("There is no " + revision + ".");
  found->milestone = call.request.milestone.value_or("");
  return written(revision + " is " + quoted(found->milestone) + ".");
}

// Adds a revision, and brings up to date what a listing says of the note.
Reply revise(const Call& call, Note& note, const std::string& content, const char* usual_why) {
  const auto number = static_cast<std::int64_t>(note.revisions.size()) + 1;
  note.revisions.push_back(
      {number, call.caller->name, call.request.why.value_or(usual_why), "", content});
  note.lastEditedBy = call.caller->name;
  note.lines = std::ranges::count(content, '\n') + !(content.empty() || content.ends_with('\n'));
  note.sections.clear();
  for (const std::string_view line : text::split(content, '\n')) {
    if (const std::string title = title_of(line); !title.empty()) note.sections.push_back(title);
  }
  return written("Wrote " + quoted(note.name) + ", r" + std::to_string(number) + ".");
}

Reply create_note(const Call& call) {
  if (call.note != nullptr) return refused("There is a note called " + quoted(call.name) + ".");
  Note& note = call.thread.notes.emplace_back();
  note.name = call.name;
  note.summary = call.request.description.value_or("");
  note.notebook = call.thread.notebooks.front();
  return revise(call, note, call.body, "created");
}

Reply update_note(const Call& call) { return revise(call, *call.note, call.body, "updated"); }

Reply append_note(const Call& call) {
  std::string content = call.note->revisions.back().content;
  if (!content.empty() && content.back() != '\n') content += '\n';
  return revise(call, *call.note, content + call.body, "appended");
}

Reply edit_note(const Call& call) {
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

Reply rename_note(const Call& call) {
  const std::string fresh = call.request.newName.value_or("");
  if (call.thread.note(fresh)) return refused("There is a note called " + quoted(fresh) + ".");
  call.note->name = fresh;
  return written("Renamed to " + quoted(fresh) + ".");
}

Reply delete_note(const Call& call) {
  std::erase_if(call.thread.notes, [&](const Note& note) { return note.name == call.name; });
  return written("Deleted " + quoted(call.name) + ".");
}

Reply no_such_notebook(const std::string& name) {
  return refused("There is no notebook called " + quoted(name) + ".");
}

Reply move_note(const Call& call) {
  const std::string notebook = call.request.notebook.value_or("");
  if (!contains(call.thread.notebooks, notebook)) return no_such_notebook(notebook);
  call.note->notebook = notebook;
  return written("Moved " + quoted(call.name) + " to " + quoted(notebook) + ".");
}

// What was done, and what notebooks there are now.
Reply with_notebooks(const Call& call, const std::string& message) {
  Reply reply{
      .kind = Kind::written, .notebooks = std::vector<MCPNotebookSummary>(), .message = message};
  for (const std::string& name : call.thread.notebooks) {
    const auto held = std::ranges::count(call.thread.notes, name, &Note::notebook);
    reply.notebooks->push_back({.name = name, .notes = held, .access = "read and write"});
  }
  return reply;
}

Reply create_notebook(const Call& call) {
  auto& all = call.thread.notebooks;
  if (contains(all, call.name)) return refused(quoted(call.name) + " is there already.");
  all.push_back(call.name);
  return with_notebooks(call, "Created the notebook " + quoted(call.name) + ".");
}

Reply rename_notebook(const Call& call) {
  auto& all = call.thread.notebooks;
  const std::string fresh = call.request.newName.value_or("");
  if (!contains(all, call.name)) return no_such_notebook(call.name);
  if (contains(all, fresh)) return refused(quoted(fresh) + " is there already.");
  std::ranges::replace(all, call.name, fresh);
  for (Note& note : call.thread.notes) {
    if (note.notebook == call.name) note.notebook = fresh;
  }
  return with_notebooks(call, "Renamed to " + quoted(fresh) + ".");
}

Reply delete_notebook(const Call& call) {
  auto& all = call.thread.notebooks;
  if (!contains(all, call.name)) return no_such_notebook(call.name);
  const auto held = std::ranges::count(call.thread.notes, call.name, &Note::notebook);
  if (held > 0 || all.size() == 1) return refused(quoted(call.name) + " is in use.");
  std::erase(all, call.name);
  return with_notebooks(call, "Deleted the notebook " + quoted(call.name) + ".");
}

Reply set_actor_name(const Call& call) {
  if (call.thread.is_taken(call.name, call.caller)) return refused("That name is taken.");
  call.caller->name = call.name;
  return written("You are " + call.name + " now.");
}

// The request's name is the code, its body the secret, its section the name that is wished for.
Reply join_thread(const Call& call) {
  auto& panes = call.thread.panes;
  const auto known = std::ranges::find(panes, call.body, &Pane::secret);
  Pane* pane = call.body.empty() || known == panes.end() ? nullptr : &*known;
  const std::string& session = call.request.sessionID;
  const std::string wished = call.request.section.value_or("");
  if (call.caller != nullptr && call.caller != pane) {
    return refused("This terminal has its place in the Thread already and needs no code.");
  }
  if (call.thread.is_taken(wished, pane)) {
    return refused(quoted(wished) + " is taken. Your code is still good; try another name.");
  }
  if (pane == nullptr && call.name != call.thread.join_code) {
    return refused("That is not good here. `qv-sandbox person code` shows the code that is.");
  }
  std::string message = "Welcome back.";
  std::string secret;
  if (pane == nullptr) {
    call.thread.join_code = Thread::new_join_code();
    pane = &call.thread.open_pane(session, 0);
    pane->secret = random_hex(32);
    message = "You are admitted.";
    secret = "\nsecret: " + pane->secret;
  }
  if (!session.empty()) pane->id = session;
  if (!wished.empty()) pane->name = wished;
  call.thread.seat(*pane);
  message += " You are " + pane->handle + " in " + call.thread.plan.threadName + ".";
  if (session.empty()) message += "\nGo on with `export QUORVEL_SESSION_ID=" + pane->id + "`.";
  return written(message + secret);
}

constexpr Method kMethods[] = {
    {"list_notes", Needs::pane, list_notes},
    {"read_note", Needs::known_note, read_note},
    {"note_history", Needs::known_note, note_history},
    {"lock_note", Needs::known_note, lock_note},
    {"mark_milestone", Needs::known_note, mark_milestone},
    {"create_note", Needs::pane, create_note},
    {"update_note", Needs::unlocked_note, update_note},
    {"append_note", Needs::unlocked_note, append_note},
    {"edit_note", Needs::unlocked_note, edit_note},
    {"rename_note", Needs::unlocked_note, rename_note},
    {"delete_note", Needs::unlocked_note, delete_note},
    {"move_note", Needs::note, move_note},
    {"create_notebook", Needs::pane, create_notebook},
    {"rename_notebook", Needs::pane, rename_notebook},
    {"delete_notebook", Needs::pane, delete_notebook},
    {"set_actor_name", Needs::pane, set_actor_name},
    {"join_thread", Needs::nothing, join_thread},
};

Reply called(const Call& call) {
  const auto* method = std::ranges::find(kMethods, call.request.method, &Method::name);
  if (method == std::end(kMethods)) {
    return refused("This bridge knows no method " + call.request.method + ".");
  }
  if (method->needs != Needs::nothing && call.caller == nullptr) {
    return refused("caller is not attributable to a live pane");
  }
  if (method->needs >= Needs::known_note && call.note == nullptr) {
    if (method->needs == Needs::known_note) return {};
    return refused("There is no note called " + quoted(call.name) + ".");
  }
  if (method->needs == Needs::unlocked_note && call.note->readOnly == true) {
    return refused(quoted(call.name) + " is locked. Only the person can unlock it.");
  }
  return method->answer(call);
}

}  // namespace

std::optional<std::string> answer_notes(Thread& thread, const std::string& text,
                                        Clock::time_point /*received*/) {
  thread.advance();
  const auto request = record::from_text<MCPBridgeRequest>(text);
  if (!request || request->token != thread.token) {
    return record::to_text(refused("That is no request of a pane of this Thread."));
  }
  const std::string name = request->name.value_or("");
  Reply reply = called({thread, thread.pane_of(request->sessionID), *request, thread.note(name),
                        name, request->body.value_or("")});
  reply.threadName = thread.plan.threadName;
  reply.threadTag = Thread::kTag;
  return record::to_text(reply);
}

}  // namespace qv::sandbox
