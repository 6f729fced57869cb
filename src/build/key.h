#pragma once

#include <string>

#include "build/environment.h"
#include "build/job_knobs.h"

namespace qv::build {

// What makes two builds the same build. All of it is bytes as they are.
struct BuildKey {
  const std::string& tool;  // as written
  const std::string& folder;
  const std::string& state;  // of the folder
  const Arguments& arguments;
  const Environment& environment;

  // The key: 64 hexadecimal digits, equal exactly when everything that can change the
  // build's result is.
  [[nodiscard]] std::string digest() const;
};

}  // namespace qv::build
