// A wait that was killed must not lose its place, and a board command and a wait may write at
// the same time: each writes the whole record, with only its own fields changed.

#include "waiting/pane_state.h"

#include "base/files.h"
#include "base/text.h"
#include "platform/paths.h"

namespace qv {

PaneStateStore::PaneStateStore(const std::string& sessionID, const std::string& collabSocket) {
  const std::string name = text::letters_digits_hyphens(sessionID);
  if (name.empty()) return;
  const std::string directory = collabSocket.empty()
                                    ? platform::temporary_directory() + "/quorvel-cli-state"
                                    : files::directory_of(collabSocket) + "/cli-state";
  files::make_private_directories(directory);
  // A directory that somebody else made in a shared place is no place for this record.
  if (!files::is_own_directory(directory)) return;
  file_ = directory + "/" + name + ".json";
}

PaneState PaneStateStore::load() const {
  if (!file_) return {};
  const auto content = files::read(*file_);
  if (!content) return {};
  return record::from_text<PaneState>(*content).value_or(PaneState{});
}

void PaneStateStore::save(const PaneState& state) const {
  if (!file_) return;
  // A record that cannot be written leaves the old one in place; the next save tries again.
  static_cast<void>(files::replace(*file_, record::to_text(state, json::Slashes::escaped)));
}

void PaneStateStore::update(const std::function<void(PaneState&)>& change) const {
  const PaneState before = load();
  PaneState state = before;
  change(state);
  if (state != before) save(state);
}

}  // namespace qv
