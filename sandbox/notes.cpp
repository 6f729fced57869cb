#include "notes.h"

#include <algorithm>

#include "notes_methods.h"

namespace qv::sandbox {

namespace {

using Kind = NotesReply::Kind;

// What must be so before a method is called at all. What needs a note and finds none is
// answered with "empty" where that is an answer, and refused elsewhere.
enum class Needs { nothing, pane, note_or_empty, note, unlocked_note };

struct Method {
  std::string_view name;
  Needs needs;
  NotesReply (*answer)(const NotesCall&);
};

constexpr Method kMethods[] = {
    {"list_notes", Needs::pane, methods::list_notes},
    {"read_note", Needs::note_or_empty, methods::read_note},
    {"note_history", Needs::note_or_empty, methods::note_history},
    {"lock_note", Needs::note_or_empty, methods::lock_note},
    {"mark_milestone", Needs::note_or_empty, methods::mark_milestone},
    {"create_note", Needs::pane, methods::create_note},
    {"update_note", Needs::unlocked_note, methods::update_note},
    {"append_note", Needs::unlocked_note, methods::append_note},
    {"edit_note", Needs::unlocked_note, methods::edit_note},
    {"rename_note", Needs::unlocked_note, methods::rename_note},
    {"delete_note", Needs::unlocked_note, methods::delete_note},
    {"move_note", Needs::note, methods::move_note},
    {"create_notebook", Needs::pane, methods::create_notebook},
    {"rename_notebook", Needs::pane, methods::rename_notebook},
    {"delete_notebook", Needs::pane, methods::delete_notebook},
    {"set_actor_name", Needs::pane, methods::set_actor_name},
    {"join_thread", Needs::nothing, methods::join_thread},
};

NotesReply called(const Method& method, const NotesCall& call) {
  if (method.needs != Needs::nothing && call.caller == nullptr) {
    return notes_error("caller is not attributable to a live pane");
  }
  if (method.needs >= Needs::note_or_empty && call.note == nullptr) {
    if (method.needs == Needs::note_or_empty) return {};
    return notes_error("There is no note called \"" + call.request.name.value_or("") +
                       "\" in this room. `qv note list` shows what is here.");
  }
  if (method.needs == Needs::unlocked_note && call.note->read_only) {
    return notes_error("\"" + call.note->name + "\" is locked. Only the person can unlock it.");
  }
  return method.answer(call);
}

}  // namespace

Answer Notes::answer(const std::string& text, Clock::time_point /*received*/) {
  thread_.advance(Clock::now());
  const auto request = record::from_text<MCPBridgeRequest>(text);
  if (!request) {
    return record::to_text(notes_error("That is not a request a notes bridge can read."));
  }
  if (request->token != token_) {
    return record::to_text(notes_error("The token is not this bridge's."));
  }
  const auto* method = std::ranges::find(kMethods, request->method, &Method::name);
  if (method == std::end(kMethods)) {
    return record::to_text(notes_error("This bridge knows no method " + request->method + "."));
  }
  const NotesCall call{thread_, thread_.pane_of(request->sessionID), *request,
                       thread_.room.note(request->name.value_or(""))};
  NotesReply reply = called(*method, call);
  reply.threadName = Thread::kName;
  reply.threadTag = Thread::kTag;
  return record::to_text(reply);
}

}  // namespace qv::sandbox
