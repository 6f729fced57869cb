// The small files beside the app's: the pane's record, the seat secret, the token. Anything may
// stand in them, and what is taken from them goes into a request and onto a path.

#include "base/text.h"
#include "bridge/discovery.h"
#include "bridge/endpoint.h"
#include "command/pane_state.h"
#include "seat/seat_secret.h"
#include "support/support.h"

namespace qv::fuzz {

namespace {

// A value that a file or a message gave: there is something to it, and no blanks around it.
void check_value(const std::optional<std::string>& value) {
  if (!value) return;
  check_printed(*value);
  promise(!value->empty() && text::trimmed(*value) == *value, "it is trimmed", *value);
}

// A record that another version wrote, or nobody: a command changes its own fields alone.
void check_record(std::string_view bytes) {
  static const PaneStateStore store("pane", scratch_file("teamwork-1.sock"));
  write_file("cli-state/pane.json", bytes);
  std::optional<PaneState> changed;
  store.update([&](PaneState& state) {
    check_stable(state);
    // Nobody's record becomes the same each time, and need not be written.
    if (state != PaneState()) state.lastSeenRev = state.lastSeenRev / 2 + 1;
    changed = state;
  });
  promise(changed.has_value(), "whatever stands in a record, it can be read");
  promise(store.read() == changed, "a record keeps what nobody changed");
}

void check_seat(std::string_view bytes) {
  const std::string file = write_file("agent-seat", bytes);
  const auto secret = SeatSecret::read(file);
  check_value(secret);
  check_value(BridgeDiscovery::seat_socket(file));
  check_value(bridge::Endpoint{.token_file = file, .token_seed = "seed"}.token());

  const std::string message = text::repaired(bytes);
  const auto told = SeatSecret::in_message(message);
  check_value(told);
  const std::string_view socket = text::trimmed(text::split(message, '\n').front());
  if (!told || socket.empty()) return;
  promise(SeatSecret::store(file, *told, socket), "a secret is stored");
  promise(SeatSecret::read(file) == told, "it is read again", *told);
  promise(BridgeDiscovery::seat_socket(file) == std::string(socket), "with its socket", socket);
}

// The name of a session comes from the environment.
void check_name(std::string_view bytes) {
  const auto file = PaneStateStore::file_of(text::repaired(bytes), "/s/t.sock");
  const std::string_view kFolder = "/s/cli-state/";
  promise(!file || (file->starts_with(kFolder) && file->find('/', kFolder.size()) == file->npos),
          "a session names a file of its folder", bytes);
}

}  // namespace

void try_input(std::string_view bytes) {
  if (bytes.starts_with('{')) return check_record(bytes);
  check_seat(bytes);
  check_name(bytes);
}

}  // namespace qv::fuzz
