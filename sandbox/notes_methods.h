#pragma once

// What the notes bridge can be asked.

#include "notes/request.h"
#include "notes/response.h"
#include "thread.h"

namespace qv::sandbox {

struct NotesCall {
  Thread& thread;
  Pane* caller;  // null for an agent that is not admitted yet
  const MCPBridgeRequest& request;
  RoomNote* note = nullptr;  // the one the request names, if there is one
};

using NotesReply = MCPBridgeResponse;

[[nodiscard]] inline NotesReply notes_reply(NotesReply::Kind kind, std::string message) {
  NotesReply reply;
  reply.kind = kind;
  reply.message = std::move(message);
  return reply;
}
[[nodiscard]] inline NotesReply notes_written(std::string message) {
  return notes_reply(NotesReply::Kind::written, std::move(message));
}
[[nodiscard]] inline NotesReply notes_error(std::string sentence) {
  return notes_reply(NotesReply::Kind::error, std::move(sentence));
}

namespace methods {

// notes_reading.cpp
NotesReply list_notes(const NotesCall& call);
NotesReply read_note(const NotesCall& call);
NotesReply note_history(const NotesCall& call);

// notes_writing.cpp
NotesReply create_note(const NotesCall& call);
NotesReply update_note(const NotesCall& call);
NotesReply append_note(const NotesCall& call);
NotesReply edit_note(const NotesCall& call);
NotesReply rename_note(const NotesCall& call);
NotesReply delete_note(const NotesCall& call);
NotesReply move_note(const NotesCall& call);
NotesReply lock_note(const NotesCall& call);
NotesReply mark_milestone(const NotesCall& call);
NotesReply create_notebook(const NotesCall& call);
NotesReply rename_notebook(const NotesCall& call);
NotesReply delete_notebook(const NotesCall& call);

// notes_seats.cpp
NotesReply set_actor_name(const NotesCall& call);
NotesReply join_thread(const NotesCall& call);

}  // namespace methods

}  // namespace qv::sandbox
