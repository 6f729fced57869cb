#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "builds/environment.h"

// What the coordinator knows about the build tools: which of their invocations are builds
// worth coordinating, how each is told a job count, and which builds are release builds.
namespace qv::build {

using Arguments = std::vector<std::string>;

// Whether a tool of that name (a file name without its directories) is known.
[[nodiscard]] bool is_build_tool(std::string_view name);

// The argument that asks the tool to build; empty without one. It lives as long as those do.
[[nodiscard]] std::string_view action_of(std::string_view tool, const Arguments& arguments);

// True when `tool` (a file name without its directories) is a known build tool, the
// arguments ask it to build, and the user has not chosen a job count.
[[nodiscard]] bool is_coordinated(std::string_view tool, const Arguments& arguments,
                                  const Environment& environment);

// True when the invocation runs the program that it builds: twice asked is run twice.
[[nodiscard]] bool runs_its_result(std::string_view tool, const Arguments& arguments);

// True when the build is optimised and so needs more memory for each job.
[[nodiscard]] bool is_release(std::string_view tool, const Arguments& arguments);

// How one invocation is told its job count.
struct BuildJobKnob {
  // Put these arguments at the position, or at the end of a shorter list.
  struct InsertArguments {
    Arguments arguments;
    std::size_t at = 0;
    friend bool operator==(const InsertArguments&, const InsertArguments&) = default;
  };
  // Set this environment variable.
  struct SetVariable {
    std::string name;
    std::string value;
    friend bool operator==(const SetVariable&, const SetVariable&) = default;
  };

  std::variant<InsertArguments, SetVariable> change;

  // The knob for `jobs` jobs; absent when the invocation is not coordinated.
  [[nodiscard]] static std::optional<BuildJobKnob> find(std::string_view tool,
                                                        const Arguments& arguments,
                                                        const Environment& environment,
                                                        std::int64_t jobs);

  void apply(Arguments& arguments, Environment& environment) const;
};

}  // namespace qv::build
