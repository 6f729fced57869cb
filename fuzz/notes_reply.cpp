// A note that is read in pages is taken from the reply while it arrives. However the bytes are
// cut on their way, what is shown is what the reply as a whole would show.

#include "base/text.h"
#include "notes/note_stream.h"
#include "notes/rendering.h"
#include "notes/response.h"
#include "support/support.h"

namespace qv::fuzz {

namespace {

using notes::NoteStream;
using notes::View;

constexpr std::string_view kMethods[] = {"read_note", "list_notes", "edit_note"};

std::string shown(std::string_view reply, const View& view) {
  const auto response = record::from_text<MCPBridgeResponse>(reply);
  return response ? notes::render(*response, view) : "unreadable";
}

void check_streaming(std::string_view reply, View view, Input pieces) {
  const std::string whole = shown(reply, view);
  for (Input cuts : {pieces, Input({})}) {  // the latter: byte by byte
    NoteStream stream(view.offset, view.limit);
    for (std::size_t at = 0; at < reply.size();) {
      const std::size_t size = cuts.byte() + 1U;
      stream.take(reply.substr(at, size));
      at += size;
    }
    view.page = stream.page();
    promise_same(shown(stream.frame(), view), whole, "in pieces a reply shows as it does whole");
  }
}

}  // namespace

void try_input(std::string_view bytes) {
  auto [reply, choices] = reply_of<MCPBridgeResponse>(bytes);
  View view{.method = kMethods[choices.below(std::size(kMethods))],
            .offset = choices.integer(),
            .limit = choices.maybe_integer()};
  check_streaming(reply, view, choices);
  const auto document = json::parse(reply);
  if (!document) return;
  check_json(*document);
  MCPBridgeResponse response;
  if (!record::decode(*document, response)) return;
  check_stable(response);
  if (choices.coin()) view.offset = view.limit = std::nullopt;
  check_rows(response, [&](const MCPBridgeResponse& seen) { return notes::render(seen, view); },
             {"content", "message", "notice"});
}

}  // namespace qv::fuzz
