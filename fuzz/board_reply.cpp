// What the board answers is written by its peers. Whatever they write, each reply is shown as
// text, a value that is no text of its own keeps to its line, and as JSON the reply stays what
// it is.

#include "base/text.h"
#include "board/pages.h"
#include "board/reply_rendering.h"
#include "board/task_rendering.h"
#include "support/support.h"

namespace qv::fuzz {

namespace {

using namespace board;

constexpr std::string_view kMethods[] = {"register",  "list_agents", "list_tasks",      "read_task",
                                         "read_plan", "heartbeat",   "wait_for_changes"};

// Who reads: fingerprints that no other text becomes by losing its line breaks.
constexpr std::string_view kReaders[] = {"", "f1", "KQ3"};

void check_page(std::string_view body, const Page& page) {
  const auto lines = lines_of(body);
  const Cut shown = cut(lines, page, {"lines", "offset", "limit"});
  const std::int64_t first = page.offset.value_or(1);
  std::vector<std::string_view> wanted;
  for (std::int64_t number = 1; const auto line : lines) {
    const bool reached = first >= 1 && number >= first;
    if (reached && (!page.limit || number - first < *page.limit)) wanted.push_back(line);
    ++number;
  }
  promise_same(text::joined(shown.lines, "\n"), text::joined(wanted, "\n"), "a page has its lines");
}

// A script sees each task in one bucket.
void check_buckets(json::Value reply, const TaskList& tasks, std::string_view reader) {
  const std::string ids = bucket_ids(tasks, reader);
  const auto buckets = json::parse(ids);
  promise(buckets.has_value(), "the buckets are JSON", ids);
  std::size_t count = 0;
  for (const auto& bucket : buckets->root().members()) count += bucket.value.size();
  promise(count == tasks.size(), "each task is in one bucket", ids);
  const std::string printed = json::pretty(reply, json::AddedMember{"buckets", *buckets});
  const auto again = json::parse(printed);
  promise(again && again->root().member("buckets"), "the buckets are added", printed);
}

// A long reply is read while it arrives, in whatever pieces.
void check_pieces(std::string_view text, const std::optional<json::Document>& whole) {
  std::string source(text);
  const std::size_t step = 1 + text.size() % 97;
  json::Reader reader;
  for (std::size_t size = step; size < text.size(); size += step)
    reader.read({source.data(), size});
  const auto read = reader.finish(source);
  promise(read.has_value() == whole.has_value(), "pieces of a reply are one reply", text);
  if (read)
    promise_same(json::compact(*read), json::compact(*whole), "it reads the same in pieces");
}

}  // namespace

void try_input(std::string_view bytes) {
  auto [text, choices] = reply_of<TeamworkResponse>(bytes);
  const auto reply = json::parse(text);
  check_pieces(text, reply);
  if (!reply) return;
  check_json(*reply);
  TeamworkResponse response;
  const bool readable = record::decode(*reply, response);
  promise(readable == record::is<TeamworkResponse>(*reply), "what decodes is known before");
  if (!readable) return;
  check_stable(response);
  const auto printed = record::from_text<TeamworkResponse>(json::pretty(*reply));
  promise(printed && record::to_text(*printed) == record::to_text(response), "JSON says the same",
          text);

  const std::string_view reader = kReaders[choices.below(std::size(kReaders))];
  const View view{.method = kMethods[choices.below(std::size(kMethods))],
                  .reader = reader,
                  .include_all = choices.coin(),
                  .page = {choices.maybe_integer(), choices.maybe_integer()},
                  .log_page = {choices.maybe_integer(), choices.maybe_integer()}};
  check_rows(response, [&](const TeamworkResponse& shown) { return render(shown, view); },
             {"body", "charter", "text", "resolution", "message", "notice"});
  if (response.task) check_page(response.task->body, view.page);
  if (response.tasks) check_buckets(*reply, *response.tasks, reader);
}

}  // namespace qv::fuzz
