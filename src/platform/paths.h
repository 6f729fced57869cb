#pragma once

#include <string>
#include <string_view>

// Where the system keeps a user's files. Paths are absolute, without a final slash.
namespace qv::platform {

// A path without the slashes at its end.
[[nodiscard]] std::string without_final_slashes(std::string path);

// $HOME when it is an absolute path, else the user database's entry; empty when neither says.
[[nodiscard]] std::string home_directory();

// What the user database says, as it stands there; empty when it does not know the user.
[[nodiscard]] std::string home_in_user_database();

// The directory that holds the folders of the app's instances; not created.
[[nodiscard]] std::string application_support_directory();

// Whether a folder there is an instance's.
[[nodiscard]] bool is_instance_name(std::string_view name);

// The user's folder for temporary files.
[[nodiscard]] std::string temporary_directory();

}  // namespace qv::platform
