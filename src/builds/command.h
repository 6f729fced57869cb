#pragma once

#include <string>

#include "builds/environment.h"
#include "builds/job_knobs.h"

namespace qv::build {

// A build as its caller asked for it.
struct BuildCommand {
  std::string tool_path;  // as written
  std::string tool_name;  // the last component of that path
  Arguments arguments;
  Environment environment;
};

}  // namespace qv::build
