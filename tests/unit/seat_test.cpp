#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/foreground.h"
#include "seat/join.h"
#include "seat/options.h"
#include "seat/seat_secret.h"
#include "support.h"

namespace qv {
namespace {

namespace fs = std::filesystem;

TEST(SeatSecret, IsTheFirstLineThatIsLabelledSo) {
  struct Row {
    std::string_view message;
    std::optional<std::string> secret;
  };
  const Row rows[] = {
      {"", {}},
      {"secret: abc", "abc"},
      {"Welcome.\r\nsecret: a b \r\nsecret: second", "a b"},
      {"your secret: abc\n secret: abc\nSecret: abc\nsecret:abc", {}},
      {"secret:  \nsecret: late", {}},
  };
  for (const Row& row : rows) EXPECT_EQ(SeatSecret::in_message(row.message), row.secret);
}

TEST(SeatSecret, IsReadFromTheFirstLineOfAnyFile) {
  const ScratchDirectory home;
  const std::pair<std::string, std::optional<std::string>> rows[] = {
      {"abc\n/x/mcp-1.sock\n", "abc"}, {"  abc\r\n", "abc"},          {"abc", "abc"}, {"", {}},
      {"\n/x/mcp-1.sock\n", {}},       {"\xFF\n/x/mcp-1.sock\n", {}},
  };
  for (const auto& [content, secret] : rows) {
    EXPECT_EQ(SeatSecret::read(home.write("seat", content)), secret) << content;
  }
  for (const std::string& file : {std::string(), home.file("none"), home.path()}) {
    EXPECT_EQ(SeatSecret::read(file), std::nullopt) << file;
  }
}

// Somebody may have put anything where the secret belongs.
TEST(SeatSecret, IsStoredForItsOwnerAlone) {
  const ScratchDirectory home;
  const std::string file = home.file("a/b/agent-seat");
  const mode_t before = ::umask(0);
  EXPECT_TRUE(SeatSecret::store(file, "abc", "/x/mcp-1.sock"));
  ::umask(before);
  EXPECT_EQ(home.read("a/b/agent-seat"), "abc\n/x/mcp-1.sock\n");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
  EXPECT_EQ(fs::status(home.file("a")).permissions(), fs::perms(0700));

  const std::string target = home.write("target", "theirs");
  fs::remove(file);
  fs::create_symlink(target, file);
  EXPECT_TRUE(SeatSecret::store(file, "def", "/x/mcp-1.sock"));
  EXPECT_EQ(home.read("target"), "theirs");
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(file)));

  fs::permissions(file, fs::perms(0666));
  EXPECT_TRUE(SeatSecret::store(file, "ghi", "/x/mcp-1.sock"));
  EXPECT_EQ(SeatSecret::read(file), "ghi");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));

  for (const auto& [name, error] : {std::pair("target/agent-seat", ENOTDIR), {"a/b", EISDIR}}) {
    EXPECT_FALSE(SeatSecret::store(home.file(name), "abc", "")) << name;
    EXPECT_EQ(errno, error) << name;
  }
  EXPECT_EQ(std::distance(fs::recursive_directory_iterator(home.path()), {}), 4)
      << "two directories, the secret and the target, and nothing left behind";
}

TEST(SeatOptions, KeepNamesWordsAndOptionsApart) {
  const auto options = seat::parse_options(
      {"--as=--odd", "--name", "-5x", "word", "-", "-é", "--nosuch=1", "--json=no"},
      seat::kJoinFlags);
  EXPECT_EQ(options.values.at("as"), "--odd");
  EXPECT_EQ(options.values.at("name"), "-5x");
  EXPECT_EQ(options.words, (std::vector<std::string>{"word", "-"}));
  EXPECT_EQ(options.unknown, (std::vector<std::string>{"é", "nosuch"}));
  EXPECT_TRUE(options.wantsJSON);
  EXPECT_FALSE(options.wantsHelp);
  EXPECT_EQ(options.nameless, "");

  for (const auto& arguments : {std::vector<std::string>{"--as"}, {"--as", "--json"}}) {
    EXPECT_EQ(seat::parse_options(arguments, seat::kJoinFlags).nameless, "as");
  }
}

TEST(Foreground, ReportsHowTheProgramEnded) {
  struct Row {
    const char* script;
    int status;
  };
  const Row rows[] = {
      {"exit 0", 0},
      {"exit 255", 255},
      {"kill -KILL $$", 128 + SIGKILL},
      {"kill -INT $$", 128 + SIGINT},
  };
  ::signal(SIGINT, SIG_DFL);
  for (const Row& row : rows) {
    ::signal(SIGCHLD, SIG_IGN);  // as some parents leave it
    EXPECT_EQ(run_in_foreground("/bin/sh", {"-c", row.script}), row.status) << row.script;
  }
  EXPECT_EQ(run_in_foreground("/nonexistent/broker", {}), std::nullopt);
  EXPECT_EQ(errno, ENOENT);

  // A stop stops both, so that the shell takes the terminal back.
  const pid_t both = ::fork();
  if (both == 0) {
    ::setpgid(0, 0);
    ::alarm(60);
    ::_exit(run_in_foreground("/bin/sh", {"-c", "kill -STOP $$; exit 5"}).value_or(1));
  }
  int status = 0;
  ASSERT_EQ(::waitpid(both, &status, WUNTRACED), both);
  EXPECT_TRUE(WIFSTOPPED(status)) << status;
  ::kill(-both, SIGCONT);
  ASSERT_EQ(::waitpid(both, &status, 0), both);
  EXPECT_EQ(WEXITSTATUS(status), 5) << status;

  // A signal that is sent to this process alone ends it, whatever runs in its place.
  EXPECT_EXIT(std::exit(run_in_foreground("/bin/sh", {"-c", "kill -INT $PPID"}).value_or(1)),
              testing::KilledBySignal(SIGINT), "");
}

}  // namespace
}  // namespace qv
