#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/record.h"

namespace qv {

// What a pane remembers between commands.
struct PaneState {
  std::int64_t lastSeenRev = 0;  // the cursor: the board revision last seen
  bool hasCursor = false;        // false until a wait has stored a revision
  std::optional<std::string> fingerprint;
  std::optional<std::string> handle;
  std::optional<std::string> obligationsJSON;

  bool operator==(const PaneState&) const = default;
};

template <>
struct record::Schema<PaneState> {
  static constexpr auto fields = std::tuple{
      required("lastSeenRev", &PaneState::lastSeenRev),
      required("hasCursor", &PaneState::hasCursor),
      optional("fingerprint", &PaneState::fingerprint),
      optional("handle", &PaneState::handle),
      optional("obligationsJSON", &PaneState::obligationsJSON),
  };
};

// Owns the file of one pane's record. Nothing here fails aloud: a record that cannot be written
// stays as it was.
class PaneStateStore {
 public:
  // The file lies beside the board's socket, or in the temporary directory without one,
  // and is named after the session. Its directory is created with mode 0700.
  PaneStateStore(const std::string& sessionID, const std::string& collabSocket);

  // The record, which is the default one while there is none or none that makes sense. Absent
  // when there may well be one, but the system would not let it be read.
  [[nodiscard]] std::optional<PaneState> read() const;

  // The same for whom any record will do: the default one where `read` has none.
  [[nodiscard]] PaneState load() const { return read().value_or(PaneState{}); }

  void save(const PaneState& state) const;

  // Reads, lets `change` alter the record, and saves it if it did: a command touches only
  // its own fields. Nothing is saved over a record that could not be read.
  void update(const std::function<void(PaneState&)>& change) const;

  // Removes what killed processes left beside the records.
  void remove_leftovers() const;

 private:
  std::optional<std::string> file_;  // absent when the pane has no place on disk
};

}  // namespace qv
