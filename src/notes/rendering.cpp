#include "notes/rendering.h"

#include "base/text.h"
#include "notes/line_page.h"
#include "notes/note_stream.h"

namespace qv::notes {

namespace {

using Kind = MCPBridgeResponse::Kind;

std::string note_list(const MCPBridgeResponse& response) {
  if (!response.notes || response.notes->empty()) {
    return "This room has no notes yet. That never means the user has none; their library is "
           "separate and they lend notes in.";
  }
  std::string out;
  for (const MCPNoteSummary& note : *response.notes) {
    if (&note != response.notes->data()) out += '\n';
    out += text::on_one_line(note.name + "  [" + note.notebook + "]  " +
                             std::to_string(note.lines) + " lines  " + note.summary);
  }
  return out;
}

std::string note_text(const MCPBridgeResponse& response, const View& view) {
  if (!response.note) return "No note.";
  if (!view.offset && !view.limit) return response.note->content;
  if (view.page && response.note->content == NoteStream::kTextTaken) return *view.page;
  return line_page(response.note->content, view.offset, view.limit);
}

std::string notebook_list(const std::vector<MCPNotebookSummary>& notebooks) {
  if (notebooks.empty()) return "No notebooks.";
  std::string out;
  for (const MCPNotebookSummary& notebook : notebooks) {
    if (&notebook != notebooks.data()) out += '\n';
    out += text::on_one_line(notebook.name + "  " + std::to_string(notebook.notes) + " note(s)  " +
                             notebook.access);
  }
  return out;
}

std::string body(const MCPBridgeResponse& response, const View& view) {
  if (response.kind == Kind::notes) return note_list(response);
  if (response.kind == Kind::note) return note_text(response, view);
  if (response.notebooks) return notebook_list(*response.notebooks);
  if (response.message) return *response.message;
  return view.method.starts_with("list") ? "Nothing here." : "Done.";
}

}  // namespace

std::string render(const MCPBridgeResponse& response, const View& view) {
  std::string out = body(response, view);
  if (text::given(response.notice)) out += "\n" + *response.notice;
  if (text::given(response.threadTag)) {
    out += "\n\n(thread " + text::on_one_line(*response.threadTag) + ")";
  }
  return out;
}

}  // namespace qv::notes
