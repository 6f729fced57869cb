// A command gets a secret as a path, /dev/fd/N, to a file that has no name any more: whoever
// else looks finds nothing to open. The path takes the place of {NAME} in the arguments and
// is the value of the variable NAME_FILE. Only --env NAME puts the value itself into the
// environment.

#include "broker.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "base/descriptor.h"
#include "base/io.h"
#include "base/output.h"
#include "instance.h"
#include "platform/paths.h"

namespace qv::sandbox {

namespace {

constexpr std::string_view kNames[] = {"PRACTICE_API_KEY", "PRACTICE_DEPLOY_TOKEN"};

enum Status { kOk = 0, kUsage = 2, kFailed = 3, kRefused = 4, kNotStarted = 127 };

int complain(Status status, const std::string& sentence) {
  OutputStream(2).write_line("qv secret: " + sentence);
  return status;
}

int list() {
  for (const std::string_view name : kNames) OutputStream(1).write_line(name);
  return kOk;
}

struct Wanted {
  std::string name;
  bool as_variable;  // its value, not a path to it
};

// A descriptor to read the value from, of a file that is already unlinked.
std::optional<int> unlinked_file(const std::string& value) {
  std::string path = platform::temporary_directory() + "/qv-secret-XXXXXX";
  const Descriptor writing(::mkstemp(path.data()));
  if (!writing.valid()) return std::nullopt;
  Descriptor reading(::open(path.c_str(), O_RDONLY));
  ::unlink(path.c_str());
  if (!reading.valid() || !io::write_all(writing.get(), value)) return std::nullopt;
  return reading.release();
}

void put_in_place(std::vector<std::string>& command, const std::string& name,
                  const std::string& path) {
  const std::string mark = "{" + name + "}";
  for (std::string& word : command) {
    for (std::size_t at; (at = word.find(mark)) != std::string::npos;) {
      word.replace(at, mark.size(), path);
    }
  }
}

int run(const std::vector<Wanted>& wanted, std::vector<std::string> command) {
  for (const auto& [name, as_variable] : wanted) {
    if (std::ranges::find(kNames, name) == std::end(kNames)) {
      return complain(kRefused,
                      "there is no secret called " + name + ". `qv secret list` names them.");
    }
    const std::string value = "made-up-" + random_hex(24);
    if (as_variable) {
      ::setenv(name.c_str(), value.c_str(), 1);
      continue;
    }
    const auto file = unlinked_file(value);
    if (!file) return complain(kFailed, "no private file could be made for " + name + ".");
    const std::string path = "/dev/fd/" + std::to_string(*file);
    ::setenv((name + "_FILE").c_str(), path.c_str(), 1);
    put_in_place(command, name, path);
  }
  std::vector<char*> words;
  for (std::string& word : command) words.push_back(word.data());
  words.push_back(nullptr);
  ::execvp(words[0], words.data());
  return complain(kNotStarted, "could not start " + command[0] + ": " + std::strerror(errno) + ".");
}

int exec(const std::vector<std::string>& arguments) {
  std::vector<Wanted> wanted;
  const auto dashes = std::ranges::find(arguments, "--");
  for (auto word = arguments.begin() + 1; word != dashes; ++word) {
    const bool as_variable = *word == "--env" && word + 1 != dashes;
    if (as_variable) ++word;
    wanted.push_back({*word, as_variable});
  }
  if (wanted.empty() || dashes == arguments.end() || dashes + 1 == arguments.end()) {
    return complain(kUsage, "exec needs a name and a command: qv secret exec NAME -- CMD.");
  }
  return run(wanted, {dashes + 1, arguments.end()});
}

}  // namespace

int run_broker(const std::vector<std::string>& arguments) {
  const std::string verb = arguments.empty() ? "" : arguments[0];
  if (verb == "list" && arguments.size() == 1) return list();
  if (verb == "exec") return exec(arguments);
  if (verb == "get") return complain(kRefused, "values are never returned.");
  if (verb == "suggest" && arguments.size() == 3) {
    OutputStream(1).write_line("Suggested " + arguments[2] + " for " + arguments[1] +
                               ". This is a practice app, so nobody will ever decide it.");
    return kOk;
  }
  return complain(kUsage,
                  "the practice broker knows list, exec NAME -- CMD, and suggest NAME HOST.");
}

}  // namespace qv::sandbox
