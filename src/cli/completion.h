#pragma once

#include <functional>
#include <string>
#include <vector>

#include "command/exit_code.h"
#include "command/runtime.h"
#include "command/verb.h"

// What a command line that is being typed may go on with. It is found with the tables and the
// walk of the parser, so that a shell offers what qv takes.
namespace qv::Completion {

struct Candidate {
  std::string word;
  std::string help;  // one line
};

using Candidates = std::vector<Candidate>;

// The names that there are of this kind just now.
using Names = std::function<Candidates(Values)>;

// What the last of `words` may become. The words are those behind `qv` up to the cursor; the
// last is still being typed, and may be empty. Only a leading hyphen of it and what stands
// before the value in it are looked at: which candidates fit is for the shell to say.
[[nodiscard]] Candidates candidates(std::vector<std::string> words, const Names& names);

// Runs `qv __complete` with the words behind it: one line for each candidate, with its help
// behind a tab. A board that has nothing to say at once is passed over without a word.
[[nodiscard]] ExitCode run(const std::vector<std::string>& words, CLIRuntime& runtime);

}  // namespace qv::Completion
