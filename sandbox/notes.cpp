// The notes bridge: reads a request, lets the room answer it, writes the reply. Here are the
// notebooks, and how an agent from outside comes to sit at the board: a code, shown to the
// person, admits one agent once; the secret it is given then admits it ever after.

#include "notes.h"

#include <algorithm>

#include "base/text.h"

namespace qv::sandbox {

namespace {

using Reply = MCPBridgeResponse;
using Kind = MCPBridgeResponse::Kind;
using namespace notes_reply;

// What was done, and what notebooks there are now.
Reply with_notebooks(const NotesCall& call, const std::string& message) {
  Reply reply{
      .kind = Kind::written, .notebooks = std::vector<MCPNotebookSummary>(), .message = message};
  for (const std::string& name : call.thread.notebooks) {
    const auto held = std::ranges::count(call.thread.notes, name, &Note::notebook);
    reply.notebooks->push_back({.name = name, .notes = held, .access = "read and write"});
  }
  return reply;
}

Reply no_such_notebook(const std::string& name) {
  return refused("There is no notebook called " + quoted(name) + ".");
}

Reply create_notebook(const NotesCall& call) {
  auto& all = call.thread.notebooks;
  if (contains(all, call.name)) return refused(quoted(call.name) + " is there already.");
  all.push_back(call.name);
  return with_notebooks(call, "Created the notebook " + quoted(call.name) + ".");
}

Reply rename_notebook(const NotesCall& call) {
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

Reply delete_notebook(const NotesCall& call) {
  auto& all = call.thread.notebooks;
  if (!contains(all, call.name)) return no_such_notebook(call.name);
  const auto held = std::ranges::count(call.thread.notes, call.name, &Note::notebook);
  if (held > 0 || all.size() == 1) return refused(quoted(call.name) + " is in use.");
  std::erase(all, call.name);
  return with_notebooks(call, "Deleted the notebook " + quoted(call.name) + ".");
}

Reply set_actor_name(const NotesCall& call) {
  if (call.thread.is_taken(call.name, call.caller)) return refused("That name is taken.");
  call.caller->name = call.name;
  return written("You are " + call.name + " now.");
}

// The request's name is the code, its body the secret, its section the name that is wished for.
Reply join_thread(const NotesCall& call) {
  Thread* thread = nullptr;
  Pane* pane = nullptr;
  for (Thread& each : call.app.threads) {
    if (call.name == each.join_code) thread = &each;
    const auto known = std::ranges::find(each.panes, call.body, &Pane::secret);
    if (call.body.empty() || known == each.panes.end()) continue;
    thread = &each;
    pane = &*known;
  }
  const std::string& session = call.request.sessionID;
  const std::string wished = call.request.section.value_or("");
  if (call.caller != nullptr && call.caller != pane) {
    return refused("This terminal has its place in the Thread already and needs no code.");
  }
  if (thread == nullptr) {
    return refused("That is not good here. `qv-sandbox person code` shows the code that is.");
  }
  if (thread->is_taken(wished, pane)) {
    return refused(quoted(wished) + " is taken. Your code is still good; try another name.");
  }
  std::string message = "Welcome back.";
  std::string secret;
  if (pane == nullptr) {
    thread->join_code = new_join_code();
    pane = &call.app.open_pane(*thread, session, 0);
    pane->secret = random_hex(32);
    message = "You are admitted.";
    secret = "\nsecret: " + pane->secret;
  }
  if (!session.empty()) pane->id = session;
  if (!wished.empty()) pane->name = wished;
  thread->seat(*pane);
  message += " You are " + pane->handle + " in " + thread->plan.threadName + ".";
  if (session.empty()) message += "\nGo on with `export QUORVEL_SESSION_ID=" + pane->id + "`.";
  return {.kind = Kind::written,
          .message = message + secret,
          .threadName = thread->plan.threadName,
          .threadTag = thread->tag};
}

constexpr NotesMethod kMethods[] = {
    {"create_notebook", NotesNeed::pane, create_notebook},
    {"rename_notebook", NotesNeed::pane, rename_notebook},
    {"delete_notebook", NotesNeed::pane, delete_notebook},
    {"set_actor_name", NotesNeed::pane, set_actor_name},
    {"join_thread", NotesNeed::nothing, join_thread},
};

const NotesMethod* method_called(std::string_view name) {
  for (const auto& methods :
       {std::span<const NotesMethod>(kMethods), text_methods(), history_methods()}) {
    const auto found = std::ranges::find(methods, name, &NotesMethod::name);
    if (found != methods.end()) return &*found;
  }
  return nullptr;
}

Reply called(const NotesCall& call) {
  const NotesMethod* method = method_called(call.request.method);
  if (method == nullptr) {
    return refused("This bridge knows no method " + call.request.method + ".");
  }
  if (method->needs != NotesNeed::nothing && call.caller == nullptr) {
    return refused("caller is not attributable to a live pane");
  }
  if (method->needs >= NotesNeed::known_note && call.note == nullptr) {
    if (method->needs == NotesNeed::known_note) return {};
    return refused("There is no note called " + quoted(call.name) + ".");
  }
  if (method->needs == NotesNeed::unlocked_note && call.note->readOnly == true) {
    const std::string& why = call.note->lock_reason;
    return refused(quoted(call.name) + " is locked" + (why.empty() ? "" : " (" + why + ")") +
                   ". Only the person can unlock it.");
  }
  return method->answer(call);
}

}  // namespace

std::optional<std::string> answer_notes(App& app, const std::string& text,
                                        Clock::time_point /*received*/) {
  app.advance();
  const auto request = record::from_text<MCPBridgeRequest>(text);
  if (!request) return record::to_text(refused("That is no request to a room of notes."));
  if (request->token != app.token) return record::to_text(refused(kWrongToken));
  const auto [thread, pane] = app.place_of(request->sessionID);
  const std::string name = request->name.value_or("");
  Reply reply =
      called({app, thread, pane, *request, thread.note(name), name, request->body.value_or("")});
  if (!reply.threadName) reply.threadName = thread.plan.threadName;
  if (!reply.threadTag) reply.threadTag = thread.tag;
  return record::to_text(reply);
}

}  // namespace qv::sandbox
