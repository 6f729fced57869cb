#include "seat/seat_report.h"

#include "base/record.h"
#include "base/text.h"

namespace qv {

namespace seat {

// The report as a script reads it.
struct Bridges {
  std::string board;
  std::string notes;
  std::string vault;
};

struct Machine {
  std::string sessionID;
  std::string fingerprint;
  std::string handle;
  bool registered = false;
  std::optional<std::int64_t> lastSeenRev;
  Bridges bridges;
};

}  // namespace seat

template <>
struct record::Schema<seat::Bridges> {
  using Bridges = seat::Bridges;
  static constexpr auto fields =
      std::tuple{required("board", &Bridges::board), required("notes", &Bridges::notes),
                 required("vault", &Bridges::vault)};
};

template <>
struct record::Schema<seat::Machine> {
  using Machine = seat::Machine;
  static constexpr auto fields = std::tuple{required("sessionID", &Machine::sessionID),
                                            required("fingerprint", &Machine::fingerprint),
                                            required("handle", &Machine::handle),
                                            required("registered", &Machine::registered),
                                            optional("lastSeenRev", &Machine::lastSeenRev),
                                            required("bridges", &Machine::bridges)};
};

namespace seat {

namespace {

std::string_view state_word(bool up) { return up ? "up" : "down"; }

std::string_view seat_words(const SeatReport& report) {
  if (!report.fingerprint.empty()) return report.fingerprint;
  return report.boardAnswered ? "(not registered — run `qv board register`)"
                              : "(unknown — the board could not be asked just now)";
}

std::string cursor_words(const SeatReport& report) {
  if (!report.lastSeenRev) return "unknown — this pane's record could not be read";
  return "rev " + std::to_string(*report.lastSeenRev) + (report.hasCursor ? "" : " (unprimed)");
}

}  // namespace

std::string as_prose(const SeatReport& report) {
  std::string out = "pane:    " + text::on_one_line(report.sessionID);
  if (!report.handle.empty()) out += "\nhandle:  " + text::on_one_line(report.handle);
  out += "\nseat:    " + text::on_one_line(std::string(seat_words(report)));
  out.append("\ncursor:  ").append(cursor_words(report));
  out.append("\nbridges: board ").append(state_word(report.boardUp));
  out.append(", notes ").append(state_word(report.notesUp));
  out.append(", vault ").append(state_word(report.vaultUp));
  return out;
}

std::string as_json(const SeatReport& report) {
  const auto word = [](bool up) { return std::string(state_word(up)); };
  return record::to_pretty(Machine{
      .sessionID = report.sessionID,
      .fingerprint = report.fingerprint,
      .handle = report.handle,
      .registered = !report.fingerprint.empty(),
      .lastSeenRev = report.lastSeenRev,
      .bridges = {word(report.boardUp), word(report.notesUp), word(report.vaultUp)},
  });
}

}  // namespace seat

}  // namespace qv
