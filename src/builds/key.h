#pragma once

#include <string>

#include "builds/command.h"

namespace qv::build {

// What makes two builds the same build: 64 hexadecimal digits, equal exactly when the
// command, the folder (its path) and the folder's state are. All of it is bytes as they are.
[[nodiscard]] std::string build_key(const BuildCommand& command, const std::string& folder,
                                    const std::string& state);

}  // namespace qv::build
