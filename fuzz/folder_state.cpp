// Two builds are one when their folders are in one state, so a state has to tell folders apart.
// Git is stood in for: `process::run_all` is this file's own, and answers with listings of
// files that are there, gone, or of odd names.

#include "builds/folder_state.h"

#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "base/process.h"
#include "base/text.h"
#include "support/support.h"

namespace qv {

namespace {

// What the stand-in answers.
struct Listing {
  std::string top;
  std::string tree;  // of rev-parse
  std::string diff;  // the three lists, each path with a zero byte behind it
  std::string others;
  std::string tagged;
  std::string hashed;  // the paths that it was asked to hash
};
Listing listing;

std::string answer_of(const process::Command& command) {
  const auto asks = [&](std::string_view word) {
    return std::ranges::find(command.arguments, word) != command.arguments.end();
  };
  if (asks("rev-parse")) return listing.tree;
  if (asks("diff")) return listing.diff;
  if (asks("-o")) return listing.others;
  if (asks("-v")) return listing.tagged;
  listing.hashed = command.input;
  std::string hashes;
  for (std::string_view path : text::split(command.input, '\n')) {
    if (!path.empty()) hashes += "h" + std::to_string(std::hash<std::string_view>{}(path)) + "\n";
  }
  return hashes;
}

}  // namespace

bool process::run_all(std::span<Command> commands, std::vector<std::string>&, int) {
  for (Command& command : commands) command.output = answer_of(command);
  return true;
}

namespace fuzz {

namespace {

// Names in the tree below `top`; the files among them are there, the others are not.
constexpr std::string_view kNames[] = {"a", "b c",    "sub/d", "\"q",  "cr\r", "gone", "gone\n2",
                                       "é", "folder", "link",  "\xFF", "A",    "sub/"};

std::string make_tree() {
  for (const char* name : {"sub", "folder", ".git"}) ::mkdir(scratch_file(name).c_str(), 0700);
  std::filesystem::create_symlink("nowhere", scratch_file("link"));
  for (const char* name : {"a", "b c", "sub/d", "\"q", "cr\r", "\xFF"}) write_file(name, "x");
  return std::filesystem::path(scratch_file("a")).parent_path();
}

std::string list(Input& in) {
  std::string paths;
  for (std::size_t count = in.below(8); count > 0; --count) {
    const std::size_t name = in.below(std::size(kNames) + 3);
    paths += name < std::size(kNames) ? kNames[name] : in.bytes(4);
    if (!in.coin()) paths += '\0';
  }
  return paths;
}

std::string tree(Input& in) {
  if (in.byte() < 0xF0) return "0123abcd\n" + listing.top + "\ntrue\n";
  return in.text() + "\n" + listing.top + in.text() + "\n" + (in.coin() ? "true\n" : in.text());
}

// Read literally, the state says what git said, and nothing in it can be taken for more.
void check_state(std::string_view state) {
  std::vector<std::string> expected;
  const std::string listed = listing.diff + '\0' + listing.others;
  for (const auto path : text::split(listed, '\0')) {
    if (!path.empty()) expected.emplace_back(path);
  }
  std::ranges::sort(expected);
  const std::string top(text::split(listing.tree, '\n')[1]);
  const auto lines = text::split(state, '\n');
  promise(lines[0].starts_with("head ") && lines[0].size() > 5, "it begins with the commit", state);
  promise(lines.size() == expected.size() + 1, "each path is one line", state);
  std::string hashed;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const std::string_view hash = lines[i + 1].substr(0, lines[i + 1].find(' '));
    const std::string line = std::string(hash) + " " + expected[i];
    promise_same(lines[i + 1], line, "a line is a path and what it holds");
    struct stat status {};
    const bool there = ::lstat((top + "/" + expected[i]).c_str(), &status) == 0;
    promise(there == (hash != "deleted"), "what is gone is known", state);
    promise(!there || S_ISREG(status.st_mode), "no folder and no dangling link is hashed", state);
    if (there) hashed += expected[i] + "\n";
  }
  promise_same(listing.hashed, hashed, "the files are hashed, in their order");
}

}  // namespace

void try_input(std::string_view bytes) {
  Input in(bytes);
  static const std::string top = make_tree();
  listing = {.top = top};
  listing.tree = tree(in);
  listing.diff = list(in);
  listing.others = list(in);
  listing.tagged = in.bytes(bytes.size());
  const auto state = build::read_folder_state(listing.top, {});
  if (state) check_state(*state);
}

}  // namespace fuzz

}  // namespace qv
