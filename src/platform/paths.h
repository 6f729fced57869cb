#pragma once

#include <string>

// Where the system keeps a user's files. Paths are absolute, without a final slash.
namespace qv::platform {

// A path without the slashes at its end.
[[nodiscard]] std::string without_final_slashes(std::string path);

// $HOME when it is an absolute path, else the user database's entry; empty when neither says.
[[nodiscard]] std::string home_directory();

// The user's application support directory; not created.
[[nodiscard]] std::string application_support_directory();

// The user's folder for temporary files.
[[nodiscard]] std::string temporary_directory();

}  // namespace qv::platform
