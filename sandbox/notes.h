#pragma once

// What a room of notes can be asked. Every method takes a call and gives a reply; what it needs
// is checked before it is called.

#include <span>

#include "app.h"
#include "notes/request.h"

namespace qv::sandbox {

struct NotesCall {
  App& app;
  Thread& thread;
  Pane* caller;  // null for an agent that is not admitted yet
  const MCPBridgeRequest& request;
  Note* note;        // the one the request names; null when there is none
  std::string name;  // what it names, whether there is one or not
  std::string body;
};

// Each asks for those before it, too. Without its note a known_note is "empty".
enum class NotesNeed { nothing, pane, known_note, note, unlocked_note };

struct NotesMethod {
  std::string_view name;
  NotesNeed needs;
  MCPBridgeResponse (*answer)(const NotesCall&);
};

[[nodiscard]] std::span<const NotesMethod> text_methods();     // note_texts.cpp
[[nodiscard]] std::span<const NotesMethod> history_methods();  // note_history.cpp

// note_history.cpp: adds a revision to the note.
MCPBridgeResponse revise(const NotesCall& call, Note& note, const std::string& content,
                         const char* usual_why);

namespace notes_reply {

[[nodiscard]] inline MCPBridgeResponse written(const std::string& message) {
  return {.kind = MCPBridgeResponse::Kind::written, .message = message};
}
[[nodiscard]] inline MCPBridgeResponse refused(const std::string& sentence) {
  return {.kind = MCPBridgeResponse::Kind::error, .message = sentence};
}

// An object and no function, so that a call with a string does not find std::quoted as well.
inline constexpr auto quoted = [](const std::string& name) { return "\"" + name + "\""; };

}  // namespace notes_reply

// The title of a Markdown heading; empty for any other line.
[[nodiscard]] std::string title_of(std::string_view line);

}  // namespace qv::sandbox
