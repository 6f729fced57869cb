#pragma once

#include <string_view>

// A shim: a link to this program under the name of a build tool, in a folder that stands
// before the tool's own on the PATH.
namespace qv::build {

// Whether the program was started as one. `program` is argument 0.
[[nodiscard]] bool is_shim(std::string_view program);

// Goes on as a build with the tool that the shim stands before. `arguments` begin with
// argument 0 and end with null. The exit status, as a shell would have it when there is no
// such tool; does not return when the process is replaced by the tool.
[[nodiscard]] int run_shim(char** arguments);

}  // namespace qv::build
