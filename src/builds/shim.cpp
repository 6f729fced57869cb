// Whoever types `cargo build` gets a coordinated build when a link of that name to this
// program comes first on the PATH. The link stands before the tool, as a shell would find it
// without the link: the next program of that name on the PATH. "Next" is meant: the search
// begins behind our own place and goes round once, so that links to several copies of this
// program, one before the other, hand on and on until they come to the tool. The tool is
// started by the place it was found at and never by what that leads to, since programs that
// are links themselves go by their name.
//
// A script on the PATH may lead back to its link. Nobody can tell that from a tool that asks
// for itself within its own build, so what stops it is a count of links, far higher than any
// build is nested.

#include "builds/shim.h"

#include <paths.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/files.h"
#include "base/io.h"
#include "base/text.h"
#include "builds/direct.h"
#include "builds/entry.h"
#include "builds/job_knobs.h"
#include "builds/messages.h"
#include "platform/process_info.h"

namespace qv::build {

namespace {

constexpr const char* kLinksVariable = "QUORVEL_BUILD_LINKS";
constexpr std::int64_t kMostLinks = 100;

// The files that `name` may stand for, each once.
std::vector<std::string> places_of(std::string_view name) {
  const char* path = std::getenv("PATH");
  std::vector<std::string> places;
  for (const auto folder : text::split(path == nullptr ? _PATH_DEFPATH : path, ':')) {
    std::string place = std::string(folder.empty() ? "." : folder) + "/" + std::string(name);
    if (std::ranges::find(places, place) == places.end()) places.push_back(std::move(place));
  }
  return places;
}

class Search {
 public:
  explicit Search(const std::string& own_program)
      : own_known_(::stat(own_program.c_str(), &own_) == 0) {}

  // A program, else a file that would be one if it could be run; empty without either.
  [[nodiscard]] std::string tool_behind(const std::string& shim) const;

 private:
  enum class Kind { none, ourselves, refused, program };
  [[nodiscard]] Kind kind_of(const std::string& place) const;

  struct stat own_ {};
  bool own_known_;
};

std::string Search::tool_behind(const std::string& shim) const {
  auto places = places_of(files::name_of(shim));
  auto here = std::ranges::find(places, shim);
  if (here == places.end()) {
    here = std::ranges::find_if(places, [&](auto& p) { return kind_of(p) == Kind::ourselves; });
  }
  if (here != places.end()) std::rotate(places.begin(), here + 1, places.end());
  std::string refused;
  for (const std::string& place : places) {
    const Kind kind = kind_of(place);
    if (kind == Kind::program) return place;
    if (kind == Kind::refused && refused.empty()) refused = place;
  }
  return refused;
}

Search::Kind Search::kind_of(const std::string& place) const {
  struct stat status {};
  if (::stat(place.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return Kind::none;
  const bool same = status.st_dev == own_.st_dev && status.st_ino == own_.st_ino;
  if (own_known_ && same) return Kind::ourselves;
  return ::access(place.c_str(), X_OK) == 0 ? Kind::program : Kind::refused;
}

}  // namespace

bool is_shim(std::string_view program) { return is_build_tool(files::name_of(program)); }

int run_shim(char** arguments) {
  const std::string name(files::name_of(arguments[0]));
  const char* before = std::getenv(kLinksVariable);
  const std::int64_t links = text::whole_number(before == nullptr ? "" : before).value_or(0);
  if (links >= kMostLinks) {
    messages::tell("the programs named " + name + " on the PATH only start one another");
    return kNotExecutable;
  }
  const std::string own_program = platform::own_program();
  std::string tool = Search(own_program).tool_behind(arguments[0]);
  if (tool.empty()) {
    (void)io::write_all(STDERR_FILENO, name + ": command not found\n");
    return kNoSuchCommand;
  }
  ::setenv(kLinksVariable, std::to_string(links + 1).c_str(), 1);
  arguments[0] = tool.data();
  return run(own_program.c_str(), arguments);
}

}  // namespace qv::build
