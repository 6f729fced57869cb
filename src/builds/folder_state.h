#pragma once

#include <optional>
#include <string>

#include "builds/environment.h"

namespace qv::build {

// What distinguishes the source tree around `folder` (an absolute path) from every other:
// "head " and the commit, then a line for each path that differs from it, in ascending
// order, with the hash of the content or "deleted". Absent outside a work tree, with 2001
// or more such paths, and whenever git cannot be asked for certain. As exact as git is.
[[nodiscard]] std::optional<std::string> read_folder_state(const std::string& folder,
                                                           const Environment& environment);

}  // namespace qv::build
