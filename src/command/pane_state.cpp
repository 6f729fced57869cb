// A wait that was killed must not lose its place, and a board command and a wait may write at
// the same time: each writes the whole record, with only its own fields changed.

#include "command/pane_state.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include "base/files.h"
#include "base/text.h"
#include "platform/paths.h"

namespace qv {

std::optional<std::string> PaneStateStore::file_of(const std::string& sessionID,
                                                   const std::string& collabSocket) {
  const std::string name = text::letters_digits_hyphens(sessionID);
  if (name.empty()) return std::nullopt;
  const std::string directory = collabSocket.empty()
                                    ? platform::temporary_directory() + "/quorvel-cli-state"
                                    : files::directory_of(collabSocket) + "/cli-state";
  return directory + "/" + name + ".json";
}

PaneStateStore::PaneStateStore(const std::string& sessionID, const std::string& collabSocket) {
  const auto file = file_of(sessionID, collabSocket);
  if (!file) return;
  const std::string directory = files::directory_of(*file);
  files::make_private_directories(directory);
  // A directory that somebody else made in a shared place is no place for this record.
  if (files::is_own_directory(directory)) file_ = file;
}

std::optional<PaneState> PaneStateStore::read() const {
  if (!file_) return PaneState{};
  const auto content = files::read(*file_);
  if (content) return record::from_text<PaneState>(*content).value_or(PaneState{});
  constexpr int kNoRecordThere[] = {ENOENT, ENOTDIR, EINVAL, EFBIG};
  if (std::ranges::find(kNoRecordThere, errno) == std::end(kNoRecordThere)) return std::nullopt;
  return PaneState{};
}

void PaneStateStore::save(const PaneState& state) const {
  if (!file_) return;
  // A record that cannot be written leaves the old one in place; the next save tries again.
  static_cast<void>(files::replace(*file_, record::to_text(state, json::Slashes::escaped)));
}

void PaneStateStore::update(const std::function<void(PaneState&)>& change) const try {
  const std::optional<PaneState> before = read();
  if (!before) return;
  PaneState state = *before;
  change(state);
  if (state != before) save(state);
} catch (const std::bad_alloc&) {  // the old one stays, as when the disk is full
}

void PaneStateStore::remove_leftovers() const {
  if (file_) files::remove_leftovers(files::directory_of(*file_));
}

}  // namespace qv
