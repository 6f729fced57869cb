// How agents are named, and how one from outside comes to sit at the board: a code, shown to
// the person, admits one agent once; the secret it is given then admits it ever after.

#include "base/text.h"
#include "instance.h"
#include "notes_methods.h"

namespace qv::sandbox::methods {

namespace {

std::string wished(const std::optional<std::string>& name) {
  return std::string(text::trimmed(name.value_or("")));
}

bool is_taken(Thread& thread, const std::string& name, const Pane* self) {
  const Pane* namesake = name.empty() ? nullptr : thread.somebody(name);
  return namesake != nullptr && namesake != self;
}

Pane* pane_with_secret(Thread& thread, const std::string& secret) {
  for (Pane& pane : thread.panes) {
    if (!pane.secret.empty() && pane.secret == secret) return &pane;
  }
  return nullptr;
}

NotesReply welcome(const Pane& pane, const std::string& how, bool has_session) {
  std::string message = how + " You are " + pane.handle + " in " + std::string(Thread::kName) + ".";
  if (!has_session) {
    message += "\nThis terminal has no session yet: `export QUORVEL_SESSION_ID=" + pane.session +
               "` lets it use the board.";
  }
  return notes_written(message);
}

void sit_down(Thread& thread, Pane& pane, const std::string& name) {
  if (!name.empty()) pane.name = name;
  pane.open = true;
  thread.seat(pane);
}

}  // namespace

NotesReply set_actor_name(const NotesCall& call) {
  const std::string name = wished(call.request.name);
  if (name.empty()) return notes_error("A name needs a letter.");
  if (is_taken(call.thread, name, call.caller)) {
    return notes_error("Somebody here already answers to " + name + ".");
  }
  call.caller->name = name;
  if (call.caller->seat) call.caller->seat->name = name;
  return notes_written("You are " + name + " now.");
}

NotesReply join_thread(const NotesCall& call) {
  Thread& thread = call.thread;
  const std::string& session = call.request.sessionID;
  const std::string name = wished(call.request.section);
  Pane* known = pane_with_secret(thread, call.request.body.value_or(""));
  if (call.caller != nullptr && call.caller != known) {
    return notes_error("This terminal has its place in the Thread already and needs no code.");
  }
  if (is_taken(thread, name, known)) {
    return notes_error("Somebody here already answers to " + name +
                       ". Your code is still good; try another name.");
  }
  if (known != nullptr) {
    if (!session.empty()) known->session = session;
    sit_down(thread, *known, name);
    return welcome(*known, "Welcome back.", !session.empty());
  }
  if (!call.request.name) return notes_error("That secret opens no seat here.");
  if (*call.request.name != thread.join_code) {
    return notes_error(
        "That code is not good here. `qv-sandbox person code` shows the one that is.");
  }
  thread.join_code = new_join_code();
  Pane& pane = thread.open_pane(session, 0);
  pane.secret = random_hex(32);
  sit_down(thread, pane, name);
  NotesReply reply = welcome(pane, "You are admitted.", !session.empty());
  *reply.message += "\nsecret: " + pane.secret;
  return reply;
}

}  // namespace qv::sandbox::methods
