// The app's own folder on Linux may be where a Linux program's is or where the app's is on
// macOS. Which of the two was made last says nothing: what decides is where an instance keeps
// something. The ledger of builds does not count, as it is below ~/Library on every system.
//
// The user database is its file alone. The C library's own calls ask other sources as well, but
// through shared libraries that they load, and the installed program is to need none.

#include "platform/paths.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "base/files.h"
#include "base/text.h"

namespace qv::platform {

namespace {

bool holds_an_instance(const std::string& base) {
  return std::ranges::any_of(files::names_in(base), [&](const std::string& folder) {
    return is_instance_name(folder) &&
           std::ranges::any_of(files::names_in(base + "/" + folder), [](const std::string& name) {
             return name != "builds" && !name.starts_with('.');
           });
  });
}

}  // namespace

// "name:password:user:group:comment:home:shell"
std::string home_in_user_database() {
  const std::string users = files::read("/etc/passwd").value_or("");
  for (const std::string_view line : text::split(users, '\n')) {
    const auto fields = text::split(line, ':');
    if (fields.size() > 5 && fields[2] == std::to_string(::getuid())) {
      return std::string(fields[5]);
    }
  }
  return "";
}

std::string application_support_directory() {
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') return without_final_slashes(data);
  const std::string home = home_directory();
  std::string local = home + "/.local/share";
  std::string library = home + "/Library/Application Support";
  if (holds_an_instance(local)) return local;
  if (holds_an_instance(library)) return library;
  return files::is_directory(local) ? local : library;
}

std::string temporary_directory() {
  for (const char* name : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
    const char* directory = std::getenv(name);
    if (directory != nullptr && *directory == '/') return without_final_slashes(directory);
  }
  return "/tmp";
}

}  // namespace qv::platform
