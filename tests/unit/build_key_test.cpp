// The state of a folder and the key, against real repositories.

#include "builds/key.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "base/process.h"
#include "builds/folder_state.h"
#include "support.h"

namespace qv::build {
namespace {

class FolderState : public testing::Test {
 protected:
  FolderState() {
    std::signal(SIGPIPE, SIG_IGN);
    environment_ = read_environment();
    scratch_.write("repo/a.txt", "one\n");
    scratch_.write("repo/sub/b.txt", "two\n");
    scratch_.write("repo/.gitignore", "ignored\n");
    git("init -q");
    git("config user.name t && git -C '" + repo_ + "' config user.email t@t");
    git("add -A");
    git("commit -qm first");
  }

  void git(const std::string& arguments) const {
    ASSERT_EQ(std::system(("git -C '" + repo_ + "' " + arguments).c_str()), 0) << arguments;
  }
  [[nodiscard]] std::optional<std::string> state() const {
    return read_folder_state(repo_, environment_);
  }
  // The state without its first line, "head " and 40 digits.
  [[nodiscard]] std::string changes() const {
    const std::string text = state().value_or("none");
    EXPECT_TRUE(text.starts_with("head "));
    EXPECT_GE(text.size(), 45U);
    return text.substr(std::min<std::size_t>(45, text.size()));
  }

  ScratchDirectory scratch_;
  std::string repo_ = scratch_.file("repo");
  Environment environment_;
};

TEST_F(FolderState, ListsEveryChange) {
  EXPECT_EQ(changes(), "");
  EXPECT_EQ(read_folder_state(repo_ + "/sub", environment_), state()) << "the whole tree counts";
  scratch_.write("repo/ignored", "x");
  EXPECT_EQ(changes(), "");
  ::unlink((repo_ + "/a.txt").c_str());
  scratch_.write("repo/sub/b.txt", "changed\n");
  scratch_.write("repo/new \"file\" \xc3\xa4", "hello\n");
  const std::string actual = changes();
  EXPECT_EQ(actual,
            "\ndeleted a.txt"
            "\nce013625030ba8dba906f756967f9e9ca394464a new \"file\" \xc3\xa4"
            "\n5ea2ed416fbd4a4cbe227b75fe255dd7fa6bd4d6 sub/b.txt");
  scratch_.write("repo/sub/b.txt", "changeD\n");
  EXPECT_NE(changes(), actual) << "one byte";
}

TEST_F(FolderState, BelievesNoMonitor) {
  const std::string hook = scratch_.file("monitor");
  scratch_.write("monitor", "#!/bin/sh\ntouch '" + hook + ".ran'\nprintf 'token\\0'\n");
  ::chmod(hook.c_str(), 0700);
  git("config core.fsmonitor '" + hook + "'");
  git("update-index --fsmonitor && git -C '" + repo_ + "' status --porcelain >/dev/null");
  EXPECT_TRUE(std::filesystem::remove(hook + ".ran")) << "the monitor works";
  scratch_.write("repo/a.txt", "changed\n");
  EXPECT_NE(changes(), "");
  EXPECT_FALSE(std::filesystem::exists(hook + ".ran"));
}

TEST_F(FolderState, IsExactOrAbsent) {
  const auto without = [&](const char* what, const std::string& path) {
    EXPECT_EQ(state(), std::nullopt) << what;
    std::filesystem::remove_all(repo_ + "/" + path);
    EXPECT_TRUE(state().has_value()) << "after " << what;
  };
  for (const std::string hiding : {"assume-unchanged", "skip-worktree"}) {
    git("update-index --" + hiding + " sub/b.txt");
    EXPECT_EQ(state(), std::nullopt) << hiding;
    git("update-index --no-" + hiding + " sub/b.txt");
  }
  git("config core.worktree ../sub");
  EXPECT_EQ(state(), std::nullopt) << "a work tree elsewhere";
  git("config --unset core.worktree");
  scratch_.write("repo/line\nfeed", "");
  without("a line feed in a name", "line\nfeed");
  scratch_.write("repo/\"quoted", "");
  without("a leading quote", "\"quoted");
  scratch_.write("repo/return\r", "");
  without("a final carriage return", "return\r");
  ::symlink("nowhere", (repo_ + "/link").c_str());
  without("a dangling link", "link");
  std::filesystem::remove(repo_ + "/sub/b.txt");
  ::mkfifo((repo_ + "/sub/b.txt").c_str(), 0600);
  without("a pipe in a file's place", "sub/b.txt");
  scratch_.write("repo/nested/file", "");
  ASSERT_EQ(std::system(("git -C '" + repo_ + "/nested' init -q").c_str()), 0);
  without("a nested repository", "nested");

  for (const char* name : {"GIT_DIR", "GIT_WORK_TREE", "GIT_INDEX_FILE"}) {
    Environment elsewhere = environment_;
    elsewhere[name] = repo_;
    EXPECT_EQ(read_folder_state(repo_, elsewhere), std::nullopt) << name;
  }
  EXPECT_EQ(read_folder_state(scratch_.path(), environment_), std::nullopt) << "no work tree";
  scratch_.write("young/file", "");
  ASSERT_EQ(std::system(("git -C '" + (scratch_.file("young")) + "' init -q").c_str()), 0);
  EXPECT_EQ(read_folder_state(scratch_.file("young"), environment_), std::nullopt) << "no commit";
}

TEST_F(FolderState, EndsAtTwoThousandPaths) {
  const std::string many = "repo/many" + std::string(50, 'y') + "/";  // no pipe takes them at once
  for (int i = 0; i < 2000; ++i) scratch_.write(many + std::to_string(i), "x");
  EXPECT_TRUE(state().has_value());
  scratch_.write(many + "2000", "x");
  EXPECT_EQ(state(), std::nullopt);
}

TEST_F(FolderState, BelievesNoFailureAndNoEndlessOutput) {
  std::vector<std::string> variables = as_strings(environment_);
  for (const auto& [script, believed] : {std::pair{"head -c 67108864 /dev/zero", true},
                                         {"head -c 67108865 /dev/zero", false},
                                         {"exit 1", false}}) {
    process::Command command{{"/bin/sh", "-c", script}, "", ""};
    EXPECT_EQ(process::run_all({&command, 1}, variables, 60), believed) << script;
  }
}

TEST_F(FolderState, KillsWhatTakesTooLongWithAllThatItStarted) {
  std::vector<std::string> variables = as_strings(environment_);
  int ends[2];  // what runs holds the second one open
  ASSERT_EQ(::pipe(ends), 0);
  process::Command command{{"/bin/sh", "-c", "sleep 600 & wait"}, "", ""};
  EXPECT_FALSE(process::run_all({&command, 1}, variables, 1));
  ::close(ends[1]);
  pollfd first{ends[0], POLLIN, 0};
  EXPECT_EQ(::poll(&first, 1, 60'000), 1) << "something runs still";
  ::close(ends[0]);
}

TEST(BuildKey, HashesWhatMattersAndNothingElse) {
  const BuildCommand command{"/usr/bin/cargo",
                             "cargo",
                             {"build", "--all"},
                             {{"A", "1"}, {"RUSTFLAGS", "-g"}, {"TERM_PROGRAM", "x"}}};
  const std::string key = build_key(command, "/a", "head 1");
  // The SHA-256 of: quorvel-build-key-v1, /usr/bin/cargo, /a, head 1, 2, build, --all, A, 1,
  // RUSTFLAGS and -g, each followed by a zero byte.
  EXPECT_EQ(key, "d53c4f1ef8eb3fce10b90ad48636cd5f39fa9868a64aa9d44849a5c83ec4263d");

  const auto with = [&](const char* name, const char* value) {
    BuildCommand changed = command;
    changed.environment[name] = value;
    return build_key(changed, "/a", "head 1");
  };
  for (const char* name : {"QUORVEL_SESSION_ID", "TERM_PROGRAM", "_ANY", "USERNAME", "PAGERS",
                           "LESSOPEN", "Apple_X", "SSH_TTY", "GIT_ASKPASS_X"}) {
    EXPECT_EQ(with(name, "other"), key) << name;
  }
  for (const char* name : {"RUSTFLAGS", "apple_x", "MYTERM", "GIT_EDITOR", "PATH", "HOME"}) {
    EXPECT_NE(with(name, "other"), key) << name;
  }
  BuildCommand bare = command, joined = command, empty_added = command;
  bare.tool_path = "cargo";
  joined.arguments = {"build--all"};
  empty_added.arguments.emplace_back("");
  for (const BuildCommand& other : {bare, joined, empty_added}) {
    EXPECT_NE(build_key(other, "/a", "head 1"), key);
  }
  EXPECT_NE(build_key(command, "/b", "head 1"), key);
  EXPECT_NE(build_key(command, "/a", "head 2"), key);
}

}  // namespace
}  // namespace qv::build
