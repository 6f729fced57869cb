#include <fcntl.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <random>
#include <thread>

#include "base/descriptor.h"
#include "base/io.h"
#include "base/nearest.h"
#include "base/output.h"
#include "base/record.h"
#include "base/text.h"
#include "support.h"

namespace qv {
namespace {

TEST(Text, CharactersAreWhatAPersonSees) {
  struct {
    std::string_view text;
    std::size_t count;
  } constexpr kCases[] = {
      {"", 0},
      {"plain", 5},
      {"e\u0301a", 2},             // a combining accent
      {"👩‍👩‍👧!", 2},  // a joined family
      {"🇩🇪🇫🇷", 2},                 // two flags of two code points each
      {"a\r\nb", 3},
  };
  for (const auto& [text, count] : kCases) EXPECT_EQ(text::count_characters(text), count) << text;
  EXPECT_EQ(text::first_characters("e\u0301🇩🇪x", 2), "e\u0301🇩🇪");
  EXPECT_EQ(text::padded("e\u0301", 3), "e\u0301  ");
}

TEST(Text, CleansAndClassifiesInTheUnicodeSense) {
  EXPECT_EQ(text::trimmed("\u00a0\t\u2003a b\u2028\n "), "a b");
  EXPECT_EQ(text::trimmed(" \n "), "");
  EXPECT_EQ(text::letters_digits_hyphens("ab_c.d/e é٣-½ ²"), "abcdeé٣-");
  EXPECT_EQ(text::letters_digits_hyphens("ൎ/xe\u0301-\u0301"), "ൎxe\u0301");
  EXPECT_EQ(text::uppered("naïve é"), "NAÏVE É");
  EXPECT_TRUE(text::equal_ignoring_case("ÉCLAIR", "éclair"));
  EXPECT_EQ(text::repaired("a\xff\xc3(\xed\xa0\x80z"), "a\ufffd\ufffd(\ufffd\ufffd\ufffdz");
  for (const std::string_view bad :
       {"\xc0\xaf", "\xed\xa0\x80", "\xe0\x9f\xbf", "\xf4\x90\x80\x80", "\xf0\x8f\xbf\xbf", "a\xc3",
        "\xe2\x82", "\x80", "\xf8\x88\x80\x80\x80"}) {
    EXPECT_FALSE(text::is_utf8(bad)) << bad;
  }
  for (const std::string_view good : {"\xc2\x80", "\xed\x9f\xbf", "\xe0\xa0\x80",
                                      "\xf4\x8f\xbf\xbf", "\xf0\x90\x80\x80", "é€😀"}) {
    EXPECT_TRUE(text::is_utf8(good)) << good;
  }
  EXPECT_EQ(text::with_visible_controls("\x1b[31m\ta\r\n\x7f\u009bé\x9b"),
            "^[[31m\ta^M\n^?<U+009B>é\ufffd");
  EXPECT_EQ(text::with_visible_controls("\u061c\u200e\u2028\u202e\u2069\u2014"),
            "<U+061C><U+200E><U+2028><U+202E><U+2069>\u2014");
}

TEST(Text, ALineIsWhatStandsBetweenBreaks) {
  EXPECT_EQ(text::on_one_line("\ta\r\n\v\fb\u0085\u2028c\u2029 \u00a0é—\n"), " a b c  \u00a0é— ");
  for (std::size_t length = 0; length < 150; ++length) {
    const std::string before(length, 'x');
    EXPECT_EQ(text::on_one_line(before + "\n" + before), before + " " + before);
  }
}

TEST(Text, WholeNumbers) {
  for (const auto* bad : {"", "+", "-", "+-1", "--1", "1 ", "0x1", "1.0", "9223372036854775808"}) {
    EXPECT_FALSE(text::whole_number(bad)) << bad;
  }
  EXPECT_EQ(text::whole_number("+5"), 5);
  EXPECT_EQ(text::whole_number("-9223372036854775808"), INT64_MIN);
}

TEST(JSON, PrintsWhatItReadSortedAndExact) {
  const auto value = json::parse(
      R"( {"b":[1,-0,9223372036854775807,18446744073709551615,1e22,{}],"Z":"\/\u00e9\n\u0001","a":[]} )");
  ASSERT_TRUE(value);
  EXPECT_EQ(
      json::compact(*value),
      R"({"Z":"/é\n\u0001","a":[],"b":[1,-0,9223372036854775807,18446744073709551615,1e+22,{}]})");
  const auto nested = json::parse(R"({"b":[],"a":[1,{"c":null}]})");
  EXPECT_EQ(json::pretty(*nested),
            "{\n  \"a\": [\n    1,\n    {\n      \"c\": null\n    }\n  ],\n  \"b\": []\n}");
}

TEST(JSON, OfEqualKeysTheLastStandsAndAnAddedMemberReplaces) {
  const auto value =
      json::parse(R"({"longer than eight b":1,"longer than eight a":2,"a":1,"a":3})");
  const auto added = json::parse(R"({"z":[],"y":{"d":1,"c":2}})");
  EXPECT_EQ(json::compact(*value), R"({"a":3,"longer than eight a":2,"longer than eight b":1})");
  const auto object = json::parse(R"({"buckets":0,"a":{"z":0,"y":0}})");
  EXPECT_EQ(json::pretty(*object, json::AddedMember{"buckets", *added}),
            "{\n  \"a\": {\n    \"y\": 0,\n    \"z\": 0\n  },\n  \"buckets\": {\n    \"z\": [],\n"
            "    \"y\": {\n      \"d\": 1,\n      \"c\": 2\n    }\n  }\n}");
}

TEST(JSON, TellsObjectsOfOneDepthApart) {
  const auto value = json::parse(
      R"([{"b":1,"a":{"y":0,"x":0}},{"b":2,"a":{"x":0,"y":0}},{"b":3},{},{"b":4,"a":5,"0":6},)"
      R"({"a":7,"b":8},{"a":9,"c":0},{"a":9,"a":0}])");
  ASSERT_TRUE(value);
  EXPECT_EQ(json::compact(*value),
            R"([{"a":{"x":0,"y":0},"b":1},{"a":{"x":0,"y":0},"b":2},{"b":3},{},)"
            R"({"0":6,"a":5,"b":4},{"a":7,"b":8},{"a":9,"c":0},{"a":0}])");
}

TEST(JSON, PrintsALongTextInPartsThatMakeTheWhole) {
  std::string list = "[0";
  for (const std::size_t length : {1U, 40'000U, 7U, 32'700U, 50U, 100'000U}) {
    json::append_text(list += ',', std::string(length, 'x') + "é\"");
  }
  const auto value = json::parse(list + "]");
  std::string parts;
  int count = 0;
  const std::string end = json::pretty(*value, {}, [&](std::string_view part) {
    parts += part;
    ++count;
  });
  EXPECT_EQ(parts + end, json::pretty(*value));
  EXPECT_GT(count, 3);
}

TEST(JSON, EscapesWhereverASpecialByteStands) {
  constexpr std::pair<std::string_view, std::string_view> kCases[] = {
      {"\"", "\\\""}, {"\\", "\\\\"}, {"\x1f", "\\u001f"}, {"\n", "\\n"},
      {"\r", "\\r"},  {"/", "/"},     {"\x7f", "\x7f"},    {"é", "é"}};
  for (std::size_t length = 0; length < 20; ++length) {
    for (const auto& [raw, escaped] : kCases) {
      const std::string before(length, 'x');
      const std::string text = before + std::string(raw) + "/tail";
      std::string out;
      json::append_text(out, text);
      EXPECT_EQ(out, "\"" + before + std::string(escaped) + "/tail\"");
      std::string sent;
      json::append_text(sent, text, json::Slashes::escaped);
      EXPECT_TRUE(sent.ends_with("\\/tail\"")) << sent;
      for (const std::string& printed : {out, sent}) {
        const auto back = json::parse(printed);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->root().text(), text);
      }
    }
  }
}

TEST(JSON, ReadsInPlaceWhateverHasArrived) {
  const std::string run(5000, 'x');  // longer than what the parser hands over at once
  const std::string text = R"(["\t)" + run + R"(","plain","a\n)" + run +
                           R"(é😀",{"\"k":"\\","l":"m"},-0,12.75,)" +
                           R"(-1234567,0,-89,0.25,18446744073709551615,true,null,"",[]])";
  for (const std::size_t step : {1U, 2U, 3U, 7U, 1000U, 5010U, 20'000U}) {
    std::string source = text + "  ";
    json::Reader reader;
    for (std::size_t end = step; end < source.size(); end += step)
      reader.read({source.data(), end});
    const auto value = reader.finish(source);
    ASSERT_TRUE(value) << step;
    EXPECT_EQ(json::compact(*value), text) << step;
  }
  for (const std::string_view bad : {"[1,]", "[1] 2", "[1", "\"a", "-", "{}}", ""}) {
    std::string source(bad);
    json::Reader reader;
    for (std::size_t end = 1; end <= source.size(); ++end) reader.read({source.data(), end});
    EXPECT_FALSE(reader.finish(source)) << bad;
  }
}

TEST(JSON, DoublesSurviveToTheLastBit) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 20000; ++i) {
    const std::uint64_t bits = random();
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", number);
    const auto value = json::parse(text);
    ASSERT_TRUE(value) << text;
    const double back = std::strtod(json::compact(*value).c_str(), nullptr);
    ASSERT_EQ(std::memcmp(&back, &number, sizeof back), 0) << text;
  }
}

TEST(JSON, RefusesWhatIsNotADocument) {
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_TRUE(json::parse(nested(512)));
  const std::string bad[] = {"",
                             "{",
                             "{} {}",
                             "\"\xff\"",
                             "\"\\ud800\"",
                             "01",
                             "1e999",
                             "nul",
                             "[1,]",
                             "\"a\nb\"",
                             nested(513),
                             std::string(1000000, '['),
                             "{\"a\":"
                             "1,}",
                             "'a'"};
  for (const auto& text : bad) EXPECT_FALSE(json::parse(text)) << text.substr(0, 20);
}

struct Sample {
  std::string id;
  std::optional<std::int64_t> count;
  bool flag = true;
  std::vector<std::string> tags{"initial"};
};

}  // namespace

template <>
struct record::Schema<Sample> {
  static constexpr auto fields =
      std::tuple{required("id", &Sample::id), optional("count", &Sample::count),
                 defaulted("flag", &Sample::flag), defaulted("tags", &Sample::tags)};
};

namespace {

TEST(Record, PresenceAndTypes) {
  const auto lenient =
      record::from_text<Sample>(R"({"tags":null,"count":3.0,"other":[{}],"id":"x","flag":false})");
  ASSERT_TRUE(lenient);
  EXPECT_EQ(record::to_text(*lenient), R"({"id":"x","count":3,"flag":false,"tags":["initial"]})");
  EXPECT_EQ(record::to_text(Sample{.id = "a/b", .count = {}, .tags = {}}, json::Slashes::escaped),
            R"({"id":"a\/b","flag":true,"tags":[]})");
  EXPECT_EQ(record::from_text<Sample>(R"({"id":"x","count":1,"count":null})")->count, std::nullopt);
  for (const auto* bad : {R"({})", R"({"id":null})", R"({"id":1})", R"({"id":"x","count":1.5})",
                          R"({"id":"x","count":1e30})", R"({"id":"x","tags":["a",1]})",
                          R"({"id":"x","flag":"true"})", R"(["id"])"}) {
    EXPECT_FALSE(record::from_text<Sample>(bad)) << bad;
  }
}

// As the runtimes of some callers leave theirs.
TEST(IO, WaitsWhereADescriptorDoesNotBlock) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const Descriptor from(ends[0]);
  for (const int end : ends) ::fcntl(end, F_SETFL, O_NONBLOCK);
  const std::string text(1 << 20, 'x');
  std::thread writer(
      [&, to = Descriptor(ends[1])] { EXPECT_TRUE(OutputStream(to.get()).write_line(text)); });
  EXPECT_TRUE(io::read_to_end(from.get(), text.size() + 1) == text + "\n");
  writer.join();
}

TEST(Nearest, ForgivesWhatTheLengthOfAWordAllows) {
  EXPECT_EQ(text::distance("", "abc"), 3U);
  EXPECT_EQ(text::distance("abcd", "bacd"), 1U) << "neighbours exchanged";
  EXPECT_EQ(text::distance("kitten", "sitting"), 3U);
  constexpr std::string_view kNames[] = {"add", "update", "stand-down", "--waitsOn", "adds"};
  struct {
    std::string_view typed;
    std::string_view nearest;
  } constexpr kCases[] = {
      {"ad", "add"},
      {"dad", "add"},
      {"bid", ""},
      {"UPDTAE", "update"},
      {"uptodate", "update"},
      {"upload", ""},
      {"satnd-dwon", "stand-down"},
      {"--waitson", "--waitsOn"},
      {"waitOn", "--waitsOn"},
      {"", ""},
      {"--", ""},
      {"\xff", ""},
  };
  for (const auto& [typed, nearest] : kCases)
    EXPECT_EQ(text::nearest(typed, kNames), nearest) << typed;
}

}  // namespace
}  // namespace qv
