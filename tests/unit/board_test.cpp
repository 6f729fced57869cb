// What the transcripts do not reach: the edges of pages, and texts for odd replies.

#include "base/text.h"
#include "board/pages.h"
#include "board/reply_rendering.h"
#include "board/task_rendering.h"
#include "support.h"

namespace qv::board {
namespace {

TEST(Pages, ShowWhatWasAskedForAndSayWhatWasNot) {
  struct {
    std::string_view text;
    Page page;
    std::string_view shown;
    std::string_view closing;
  } const kCases[] = {
      {"a\nb\nc\n", {}, "a\nb\nc", ""},
      {"a\nb\nc", {1, 3}, "a\nb\nc", ""},
      {"a\nb\nc", {1, 9}, "a\nb\nc", ""},
      {"a\nb\nc", {2, {}}, "b\nc", "(Shown: lines 2–3 of 3. `cmd` shows it whole.)"},
      {"a\nb\nc",
       {{}, 2},
       "a\nb",
       "(Shown: lines 1–2 of 3. `cmd --offset 3 --limit 2` goes on, `cmd` shows it whole.)"},
      {"a\n\nc",
       {2, 1},
       "",
       "(Shown: lines 2–2 of 3. `cmd --offset 3 --limit 1` goes on, `cmd` shows it whole.)"},
      {"a",
       {INT64_MAX, INT64_MAX},
       "",
       "(--offset 9223372036854775807 is past the last of 1 lines. `cmd` shows it whole.)"},
      {"a\nb", {2, INT64_MAX}, "b", "(Shown: lines 2–2 of 2. `cmd` shows it whole.)"},
      {"a", {0, {}}, "", "(--offset 0 is out of range, lines count from 1. `cmd` shows it whole.)"},
      {"a",
       {{}, -1},
       "",
       "(--limit -1 is out of range, a page has 1 line at least. `cmd` shows it whole.)"},
      {"", {{}, 5}, "", ""},
      {"", {2, {}}, "", "(--offset 2 is past the last of 0 lines. `cmd` shows it whole.)"},
  };
  for (const auto& row : kCases) {
    const Cut page = cut(lines_of(row.text), row.page, {"lines", "offset", "limit"});
    EXPECT_EQ(text::joined(page.lines, "\n"), row.shown) << row.text;
    EXPECT_EQ(closing_line({page}, "cmd"), row.closing) << row.text;
  }
}

std::string rendered(std::string_view reply, const View& view = {}) {
  const auto response = record::from_text<TeamworkResponse>(reply);
  return response ? render(*response, view) : "unreadable";
}

TEST(Reply, TextsForWhatIsNotThere) {
  const std::string squad =
      R"({"kind":"agents","squad":{"mode":"off","canAddress":false,"canSpawn":false,)";
  EXPECT_EQ(rendered(R"({"kind":"registered"})"), "Registered.");
  EXPECT_EQ(rendered(R"({"kind":"task"})"), "No task.");
  EXPECT_EQ(rendered(R"({"kind":"changes"})"), "Nothing changed.");
  EXPECT_EQ(rendered(R"({"kind":"agents"})"), "No agents are registered in this Thread right now.");
  EXPECT_EQ(rendered(R"({"kind":"written","threadTag":"","obligations":{}})"), "Done.");
  EXPECT_EQ(rendered(R"({"kind":"written","obligations":{"clear":true,"tasksHeld":["T-1"]}})"),
            "Done.");
  const std::string full = rendered(squad + R"("helperLimit":3,"helpersRunning":3}})");
  EXPECT_NE(full.find("HELPER LIMIT: 3 of 3 helpers are running in this thread, so none may start "
                      "until one is stopped. The 3 are"),
            std::string::npos)
      << full;
  EXPECT_NE(full.find("\n\nHELPERS HERE: none allowed in this thread, so "), std::string::npos)
      << full;
  EXPECT_NE(
      rendered(squad + R"("helperLimit":3,"helpersRunning":2}})").find("so 1 more may start. "),
      std::string::npos);
  EXPECT_EQ(rendered(squad + R"("helperLimit":3}})").find("HELPER LIMIT"), std::string::npos);
  EXPECT_NE(rendered(squad + R"("helperLimit":9223372036854775807,"helpersRunning":-1}})")
                .find("so 9223372036854775807 more may start. "),
            std::string::npos);
  const std::string one = rendered(
      R"({"kind":"agents","panes":[{"handle":"ZZ9"}],"macs":[{"tag":"m","name":"Mini","addressable":true,"awake":true,"lead":{"name":"l","runsWithoutApprovals":false,"paused":true}}]})");
  EXPECT_NE(one.find("That terminal exists and no agent has confirmed in it, so nothing can be "
                     "assigned or sent there and it is not on the roster above. "),
            std::string::npos)
      << one;
  EXPECT_NE(one.find("Paused: Mini (@m, lead \"l\"). Its lead's command changed and waits for the "
                     "person to confirm it there, so request_hands to it is refused. "),
            std::string::npos)
      << one;
}

// Every "@" below is a value of which the text promises one line.
TEST(Reply, NoValueForgesALine) {
  constexpr std::string_view kReplies[] = {
      R"({"kind":"registered","agent":{"id":"a","fingerprint":"@","name":"@","status":"@","leaseSecondsRemaining":0,"isSelf":true,"role":"@","canVerify":false,"activeClaims":0,"handle":"@"}})",
      R"({"kind":"agents","agents":[{"id":"a","fingerprint":"@","name":"@","status":"@","leaseSecondsRemaining":0,"isSelf":true,"role":"@","canVerify":false,"activeClaims":0,"handle":"h@"}],"squad":{"mode":"@","canAddress":true,"canSpawn":true,"helpers":[{"name":"@","explanation":"@","runsWithoutApprovals":false,"quorvelTools":false}]},"runningHelpers":[{"handle":"@","helper":"@","state":"@","askedBy":"@","yours":false}],"panes":[{"handle":"@"}],"macs":[{"tag":"@","name":"@","addressable":true,"awake":true,"lead":{"name":"@","runsWithoutApprovals":false,"paused":true}}]})",
      R"({"kind":"tasks","tasks":[{"id":"@","title":"@","body":"","state":"@","log":[],"resources":[],"ownerFingerprint":"@","routedToFingerprint":"@","waitsOn":["@"]}]})",
      R"({"kind":"task","task":{"id":"@","title":"@","body":"b","state":"@","log":["@","@"],"resources":["@"],"type":"@","routedToFingerprint":"@","reportsToHandle":"@","ownerFingerprint":"@","blocked":true,"blockerQuestion":"@","blockerAnswer":"@","parkedReason":"@","waitsOn":["@"],"reviewState":"@"}})",
      R"({"kind":"plan","plan":{"threadName":"@","goal":"@","goalLocked":false,"dispatched":false}})",
      R"({"kind":"discussion","discussion":{"id":"@","taskID":"@","question":"@","state":"@","openedBy":"","addressedTo":[],"volleys":[{"author":"@","body":"","atMs":1}],"owingParties":[],"volleysSinceHuman":0,"escalated":false}})",
      R"({"kind":"changes","changes":{"rev":1,"changed":true,"goal":"","goalComplete":false,"pendingGoalComplete":false,"changeKinds":["@"],"tasks":[],"wakeReasons":[{"kind":"@","summary":"@","taskID":"@","cause":"@"}],"messages":[{"id":"","from":"@","fromName":"@","text":""},{"id":"","from":"@","text":""}]}})",
      R"({"kind":"written","subscribeURL":"@","threadTag":"@","obligations":{"tasksHeld":["@"]}})",
  };
  const auto filled = [](std::string_view reply, std::string_view value) {
    return rendered(text::joined(text::split(reply, '@'), value), {.log_page = {{}, 1}});
  };
  for (const std::string_view reply : kReplies) {
    EXPECT_NE(filled(reply, "x y"), "unreadable") << reply;
    EXPECT_EQ(filled(reply, R"(x\r\n\u2028\ty)"), filled(reply, "x y"));
  }
  EXPECT_EQ(filled(kReplies[1], "f").substr(0, 15), "f (you)  hf  f ");
}

TEST(Pages, TheCommandSuggestedIsOneThatCanBePasted) {
  EXPECT_EQ(shell_word("T-1_a.b@c"), "T-1_a.b@c");
  EXPECT_EQ(shell_word("a b;'c"), "'a b;'\\''c'");
  EXPECT_EQ(shell_word(""), "''");
}

TEST(Tasks, CountsAndSeats) {
  TeamworkTask done{{.id = "T-1", .state = "done"}};
  TeamworkTask declined{{.id = "T-2", .state = "rejected"}};
  EXPECT_EQ(task_list({{done, done, declined}}, "f", false),
            "2 done, 1 declined — hidden. Pass --include all to list them.");
  EXPECT_EQ(task_list({{declined}}, "f", false),
            "1 declined — hidden. Pass --include all to list them.");
  EXPECT_EQ(task_list({}, "f", true), "This Thread's backlog is empty.");
  EXPECT_EQ(task_list({}, "", true),
            "You have no seat here, so nothing shows as yours. Run `qv board register` first.");
}

TEST(Reply, AListOfTheWrongThingIsRefusedBeforeItIsMade) {
  std::string tasks = R"({"kind":"tasks","tasks":[1)";
  for (int i = 0; i < 1000; ++i) tasks += i % 2 == 0 ? ",{}" : ",[]";
  EXPECT_EQ(rendered(tasks + "]}"), "unreadable");
}

}  // namespace
}  // namespace qv::board
