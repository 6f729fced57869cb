#pragma once

#include <string>
#include <vector>

#include "base/output.h"

namespace qv::build {

// Shows the builds that run and wait, as prose or JSON, once or again and again. `program` is
// this program as argument 0 names it. The exit status: 2 for arguments that are not known, 3
// when the builds cannot be read, or when there is nobody to show them to any more.
[[nodiscard]] int show_queue(const std::string& program, const std::vector<std::string>& arguments,
                             OutputStream& out, OutputStream& err);

}  // namespace qv::build
