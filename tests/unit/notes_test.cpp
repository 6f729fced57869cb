#include <gtest/gtest.h>

#include <limits>

#include "base/json.h"
#include "notes/line_page.h"
#include "notes/note_stream.h"
#include "notes/rendering.h"
#include "notes/response.h"

namespace qv {
namespace {

using notes::line_page;

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();

std::string repeated(std::string_view text, std::size_t times) {
  std::string out;
  for (std::size_t i = 0; i < times; ++i) out += text;
  return out;
}

TEST(LinePage, ShowsTheLinesAskedForAndWhereTheyStand) {
  struct Row {
    std::string_view content;
    std::optional<std::int64_t> offset, limit;
    std::string_view page;
  };
  const Row rows[] = {
      {"", 1, {}, "(This note has no body.)"},
      {"", 5, 1, "(This note has no body.)"},
      {"a\nb", 1, {}, "1\ta\n2\tb"},
      {"a\r\n\nb\n", 1, {}, "1\ta\r\n2\t\n3\tb\n4\t"},
      {"\n", {}, 9, "1\t\n2\t"},
      {"a\nb\nc", -2, -1,
       "1\ta\n\n(Lines 1–1 of 3. Call read_note again with offset=2 to continue.)"},
      {"a\nb\nc", 2, 1,
       "2\tb\n\n(Lines 2–2 of 3. Call read_note again with offset=3 to continue.)"},
      {"a\nb\nc", 3, kMost, "3\tc\n\n(Lines 3–3 of 3.)"},
      {"a\nb\nc", 10, {}, "(offset 10 is past the last line — this note has 3 lines.)"},
      {"a", kMost, kMost,
       "(offset 9223372036854775807 is past the last line — this note has 1 line.)"},
      {"1\n2\n3\n4\n5\n6\n7\n8\n9\nten", 9, {}, " 9\t9\n10\tten\n\n(Lines 9–10 of 10.)"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(line_page(row.content, row.offset, row.limit), row.page)
        << row.content << " from " << row.offset.value_or(0);
  }
}

TEST(LinePage, IsTwoThousandLinesLongUnlessToldOtherwise) {
  const std::string page = line_page(repeated("x\n", 2499) + "x", 1, {});
  EXPECT_TRUE(page.starts_with("   1\tx\n   2\tx\n")) << page.substr(0, 40);
  constexpr std::string_view kEnd =
      "\n2000\tx\n\n(Lines 1–2000 of 2500. Call read_note again with offset=2001 to continue.)";
  EXPECT_TRUE(page.ends_with(kEnd)) << page.substr(page.size() - 120);
}

// What a person sees as one character counts as one, however many bytes it takes.
TEST(LinePage, BoundsLinesAndPagesInCharacters) {
  for (const std::string_view character : {"x", "é", "e\u0301", "👩‍👩‍👧"}) {
    EXPECT_EQ(line_page(repeated(character, 2000), 1, {}), "1\t" + repeated(character, 2000));
    EXPECT_EQ(line_page(repeated(character, 2001), 1, {}), "1\t" + repeated(character, 2000) + "…");

    // Sixteen lines of 1856 characters, with number, tab and line feed, fill a page exactly.
    const std::string line = repeated(character, 1856) + "\n";
    const std::string longer(character);
    const auto shown = [](const std::string& page) { return page.substr(page.rfind("(Lines")); };
    EXPECT_EQ(shown(line_page(repeated(line, 20), 1, {})),
              "(Lines 1–16 of 21. Call read_note again with offset=17 to continue.)");
    EXPECT_EQ(shown(line_page(longer + repeated(line, 20), 1, {})),
              "(Lines 1–15 of 21. Call read_note again with offset=16 to continue.)");
  }
}

TEST(NotesReply, CannotBeReadWithoutARequiredKey) {
  const std::string whole =
      R"({"kind":"notes",)"
      R"("notes":[{"name":"N","summary":"s","sections":[],"notebook":"b","lines":1,"lastEditedBy":"e"}],)"
      R"("notebooks":[{"name":"B","notes":1,"access":"a"}],)"
      R"("note":{"name":"C","content":"c"},)"
      R"("folderLock":{"paths":[],"scope":"thread"}})";
  EXPECT_TRUE(record::from_text<MCPBridgeResponse>(whole));
  for (const std::string required :
       {R"("kind":"notes")", R"("name":"N")", R"("summary":"s")", R"("sections":[])",
        R"("notebook":"b")", R"("lines":1)", R"("lastEditedBy":"e")", R"("name":"B")",
        R"("notes":1)", R"("access":"a")", R"("name":"C")", R"("content":"c")", R"("paths":[])",
        R"("scope":"thread")"}) {
    const std::string key = required.substr(0, required.find(':'));
    for (const std::string& replacement : {std::string(R"("other":0)"), key + ":null"}) {
      std::string broken = whole;
      broken.replace(broken.find(required), required.size(), replacement);
      EXPECT_FALSE(record::from_text<MCPBridgeResponse>(broken)) << broken;
    }
  }
}

TEST(LinePager, KeepsNoMoreOfALineThanItShows) {
  const std::string piece = repeated("e\u0301x", 1001);
  notes::LinePager pager(1, 2);
  for (int i = 0; i < 100; ++i) pager.add(piece);
  pager.end_line();
  pager.add("next");
  EXPECT_EQ(pager.page(), "1\t" + repeated("e\u0301x", 1000) + "…\n2\tnext");
}

std::string shown(std::string_view reply, const notes::View& view) {
  const auto response = record::from_text<MCPBridgeResponse>(reply);
  return response ? notes::render(*response, view) : "unreadable";
}

notes::NoteStream streamed(std::string_view reply, std::size_t size, std::int64_t first) {
  notes::NoteStream stream(first, 9);
  for (std::size_t at = 0; at < reply.size(); at += size) stream.take(reply.substr(at, size));
  return stream;
}

// However the bytes arrive, a reply read as it arrives says what the whole one says.
TEST(NoteStream, ReadsLikeTheWholeReply) {
  struct Row {
    std::string_view reply;
    bool diverted;
  };
  const Row rows[] = {
      {R"({"kind":"note","note":{"name":"n","content":"one\ntwo","home":"h"},"notice":"x"})", true},
      {R"( { "note" :{"content":	"a \"b\" \\ \/ \b\f\r\t.\u000A\u00e9\u20AC\uD83D\ude00é€👩‍👩‍👧 long enough","name":"\\\""} , "kind":"note"} )",
       true},
      {R"({"kind":"note","note":{"name":"n","content":""}})", true},
      {R"({"kind":"note","note":{"content":"\u007f\u0080\u07ff\u0800\uffff\ud800\udc00","name":"n"}})",
       true},
      {R"({"kind":"note","note":{"name":"content\":\"","n\/ote":1,"content":"\n"}})", true},
      {R"({"kind":"note","note":{"name":"n","content":"first","content":"last"}})", true},
      {R"({"kind":"note","note":{"name":"n","content":"first","cont\u0065nt":"last"}})", true},
      {R"({"kind":"note","content":"c","a":{"content":"d"},"note":{"name":"n","con\u0074ent":"e\nf"}})",
       false},
      {R"({"kind":"note","note":{"name":"n","a":["content",{"content":"d"}],"content":"e\nf"}})",
       true},
      {R"({"kind":"error","message":"note"})", false},
      {R"([{"note":{"content":"e"}}])", false},
      {R"({"kind":"note","note":{"name":"n","content":null}})", false},
      {R"({"kind":"note","note":{"name":"n","content":"cut)", true},
      {R"({"kind":"note","note":{"name":"n","content":"c"}} more)", true},
      {R"({"kind":"note","note":{"name":"n","content":"\x"}})", true},
      {R"({"kind":"note","note":{"name":"n","content":"\u12g4"}})", true},
      {R"({"kind":"note","note":{"name":"n","content":"\ud83d"}})", true},
      {R"({"kind":"note","note":{"name":"n","content":"\ud83d\u0041"}})", true},
      {R"({"kind":"note","note":{"name":"n","content":"\ude00"}})", true},
      {"{\"kind\":\"note\",\"note\":{\"name\":\"n\",\"content\":\"a\tb\"}}", true},
      {"{\"kind\":\"note\",\"note\":{\"name\":\"n\",\"content\":\"a\xC3\"}}", true},
      {"{\"kind\":\"note\",\"note\":{\"name\":\"n\",\"content\":\"\xED\xA0\x80\"}}", true},
      {"{\"kind\":\"note\",\"note\":{\"name\":\"n\",\"content\":\"\x80\x80\x80\x80\x80\"}}", true},
  };
  for (const Row& row : rows) {
    for (std::size_t size = 1; size <= row.reply.size(); ++size) {
      const notes::NoteStream stream = streamed(row.reply, size, 1);
      EXPECT_EQ(shown(stream.frame(), {"read_note", 1, 9, stream.page()}),
                shown(row.reply, {"read_note", 1, 9, {}}))
          << row.reply << " in pieces of " << size;
      EXPECT_EQ(stream.page().has_value(), row.diverted) << row.reply;
    }
  }
}

// Text in front of the page is passed over in blocks, wherever in one something stands.
TEST(NoteStream, PassesOverTextAsStrictlyAsItReadsIt) {
  for (const std::string_view piece :
       {R"(\\n\\\\n\\\n)", R"(\"\/\b\f\r\t\n\n\n)", R"(\u000a\u00e9\uD83D\ude00)",
        "é€👩‍👩‍👧", R"(\x)", R"(\ud83d)", "\\\xC3\xA9", "\t", "\x80", "\xC3x",
        "\xE2\x82", "\xED\xA0\x80", R"("})", "\\"}) {
    for (std::size_t before = 0; before < 130; ++before) {
      const std::string reply = R"({"kind":"note","note":{"name":"n","content":")" +
                                std::string(before, 'x') + std::string(piece) +
                                std::string(70, 'y') + R"(\ntwo\n)" + std::string(70, 'z') +
                                R"(\nfour\nfive\nsix"}})";
      const notes::NoteStream stream = streamed(reply, reply.size(), 4);
      EXPECT_EQ(shown(stream.frame(), {"read_note", 4, 9, stream.page()}),
                shown(reply, {"read_note", 4, 9, {}}))
          << reply;
    }
  }
}

}  // namespace
}  // namespace qv
