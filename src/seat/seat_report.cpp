#include "seat/seat_report.h"

#include "base/json.h"

namespace qv::seat {

namespace {

std::string_view state_word(bool up) { return up ? "up" : "down"; }

std::string_view seat_words(const SeatReport& report) {
  if (!report.fingerprint.empty()) return report.fingerprint;
  return report.boardAnswered ? "(not registered — run `qv board register`)"
                              : "(unknown — the board could not be asked just now)";
}

}  // namespace

std::string as_prose(const SeatReport& report) {
  std::string out = "pane:    " + report.sessionID;
  if (!report.handle.empty()) out += "\nhandle:  " + report.handle;
  out.append("\nseat:    ").append(seat_words(report));
  out += "\ncursor:  rev " + std::to_string(report.lastSeenRev);
  if (!report.hasCursor) out += " (unprimed)";
  out.append("\nbridges: board ").append(state_word(report.boardUp));
  out.append(", notes ").append(state_word(report.notesUp));
  out.append(", vault ").append(state_word(report.vaultUp));
  return out;
}

std::string as_json(const SeatReport& report) {
  return json::pretty(boost::json::object{
      {"sessionID", report.sessionID},
      {"fingerprint", report.fingerprint},
      {"handle", report.handle},
      {"registered", !report.fingerprint.empty()},
      {"lastSeenRev", report.lastSeenRev},
      {"bridges", boost::json::object{{"board", state_word(report.boardUp)},
                                      {"notes", state_word(report.notesUp)},
                                      {"vault", state_word(report.vaultUp)}}},
  });
}

}  // namespace qv::seat
