// Two agents that edit the same folder must not be given each other's build, so a state that
// git cannot tell for certain is none. Git knows which paths differ from the commit; their
// contents are hashed by git too, through the filters that the repository has for them, and
// a change that a filter takes out again is none to git. A file system monitor is never
// believed: it may be behind, and it is a program of the repository. Whatever git cannot be asked
// about line by line (a folder that is a repository of its own, a line feed in a name) and whatever
// points git at another tree than the one in the folder ends the attempt: the build then
// simply runs by itself.

#include "builds/folder_state.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "base/process.h"
#include "base/text.h"

namespace qv::build {

namespace {

constexpr int kGitSeconds = 15;  // for each command
constexpr std::size_t kMostPaths = 2000;

// With one of these set git would describe some other tree, index or set of objects.
constexpr std::string_view kRedirections[] = {
    "GIT_DIR",          "GIT_WORK_TREE",        "GIT_INDEX_FILE",
    "GIT_COMMON_DIR",   "GIT_OBJECT_DIRECTORY", "GIT_ALTERNATE_OBJECT_DIRECTORIES",
    "GIT_NAMESPACE",    "GIT_CONFIG",           "GIT_CONFIG_PARAMETERS",
    "GIT_PREFIX",       "GIT_GRAFT_FILE",       "GIT_SHALLOW_FILE",
    "GIT_CONFIG_COUNT", "GIT_REPLACE_REF_BASE", "GIT_NO_REPLACE_OBJECTS"};

enum class Kind { file, deleted, other };

struct Tree {
  std::string commit;
  std::string top;
};

process::Command git(const std::string& folder, std::initializer_list<const char*> arguments) {
  process::Command command;
  command.arguments = {"/usr/bin/git", "-C", folder, "-c", "core.fsmonitor=false"};
  command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
  return command;
}

// Whether the folder or one above it holds a repository; asking git would cost a process.
bool has_repository(std::string folder) {
  struct stat status {};
  for (;;) {
    if (::stat((folder + "/.git").c_str(), &status) == 0) return true;
    if (folder.empty()) return false;
    folder.resize(folder.rfind('/'));
  }
}

// The commit, the top of the work tree, and whether the folder is inside of it, printed one
// below the other. A name with white space at its end cannot be told from one without.
std::optional<Tree> find_tree(const std::string& folder, std::vector<std::string>& environment) {
  process::Command ask =
      git(folder, {"rev-parse", "HEAD", "--show-toplevel", "--is-inside-work-tree"});
  if (!process::run_all({&ask, 1}, environment, kGitSeconds)) return std::nullopt;
  const auto lines = text::split(ask.output, '\n');
  if (lines.size() != 4 || lines[2] != "true" || !lines[3].empty()) return std::nullopt;
  if (lines[1] != text::trimmed(lines[1])) return std::nullopt;
  Tree tree{std::string(text::trimmed(lines[0])), std::string(lines[1])};
  if (tree.commit.empty() || !tree.top.starts_with('/')) return std::nullopt;
  return tree;
}

// Whether git was told not to look at this file, one line of `ls-files -v`, for changes: a tag
// in lower case, or an S for a file that a sparse tree leaves out but that is there.
bool is_hidden_from_git(std::string_view tagged, const std::string& top) {
  if (tagged.size() < 3) return false;
  if (tagged.front() >= 'a' && tagged.front() <= 'z') return true;
  struct stat status {};
  return tagged.front() == 'S' &&
         ::lstat((top + "/" + std::string(tagged.substr(2))).c_str(), &status) == 0;
}

// The paths that differ from the commit, ascending; below the top of the tree.
std::optional<std::vector<std::string>> list_paths(const Tree& tree,
                                                   std::vector<std::string>& environment) {
  process::Command lists[] = {git(tree.top, {"diff", "HEAD", "--name-only", "-z", "--no-renames",
                                             "--ignore-submodules=none"}),
                              git(tree.top, {"ls-files", "-o", "--exclude-standard", "-z"}),
                              git(tree.top, {"ls-files", "-v", "-z"})};
  if (!process::run_all(lists, environment, kGitSeconds)) return std::nullopt;
  for (const std::string_view tagged : text::split(lists[2].output, '\0')) {
    if (is_hidden_from_git(tagged, tree.top)) return std::nullopt;
  }
  std::vector<std::string> paths;
  for (const process::Command& list : std::span(lists).first(2)) {
    for (const std::string_view path : text::split(list.output, '\0')) {
      if (path.empty()) continue;
      if (paths.size() == kMostPaths) return std::nullopt;
      paths.emplace_back(path);
    }
  }
  std::ranges::sort(paths);
  return paths;
}

Kind kind_of(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0) return S_ISREG(status.st_mode) ? Kind::file : Kind::other;
  const bool missing = errno == ENOENT || errno == ENOTDIR;
  return missing && ::lstat(path.c_str(), &status) != 0 ? Kind::deleted : Kind::other;
}

// Git reads one path a line, takes a leading quote for its own quoting, and drops a final
// carriage return.
bool fits_on_a_line(std::string_view path) {
  return path.find('\n') == std::string_view::npos && !path.starts_with('"') &&
         !path.ends_with('\r');
}

// The hashes of the files, in their order.
std::optional<std::vector<std::string>> hash_files(const Tree& tree, std::string paths,
                                                   std::size_t count,
                                                   std::vector<std::string>& environment) {
  if (count == 0) return std::vector<std::string>();
  process::Command hash = git(tree.top, {"hash-object", "--stdin-paths"});
  hash.input = std::move(paths);
  if (!process::run_all({&hash, 1}, environment, kGitSeconds)) return std::nullopt;
  std::vector<std::string> hashes;
  for (const std::string_view line : text::split(hash.output, '\n')) {
    if (!line.empty()) hashes.emplace_back(line);
  }
  if (hashes.size() != count) return std::nullopt;
  return hashes;
}

}  // namespace

std::optional<std::string> read_folder_state(const std::string& folder,
                                             const Environment& environment) {
  for (const std::string_view name : kRedirections) {
    if (find(environment, name) != nullptr) return std::nullopt;
  }
  if (!has_repository(folder)) return std::nullopt;
  Environment for_git = environment;
  for_git["GIT_OPTIONAL_LOCKS"] = "0";
  std::vector<std::string> variables = as_strings(for_git);

  const auto tree = find_tree(folder, variables);
  if (!tree) return std::nullopt;
  const auto paths = list_paths(*tree, variables);
  if (!paths) return std::nullopt;

  std::string lines;
  std::vector<Kind> kinds;
  for (const std::string& path : *paths) {
    kinds.push_back(kind_of(tree->top + "/" + path));
    if (kinds.back() == Kind::other || !fits_on_a_line(path)) return std::nullopt;
    if (kinds.back() == Kind::file) lines.append(path).append("\n");
  }
  const auto file_count = static_cast<std::size_t>(std::ranges::count(kinds, Kind::file));
  const auto hashes = hash_files(*tree, std::move(lines), file_count, variables);
  if (!hashes) return std::nullopt;

  std::string state = "head " + tree->commit;
  auto hash = hashes->begin();
  for (std::size_t i = 0; i < paths->size(); ++i) {
    state.append("\n").append(kinds[i] == Kind::file ? *hash++ : "deleted");
    state.append(" ").append((*paths)[i]);
  }
  return state;
}

}  // namespace qv::build
