// A section for each thing that can be at fault, with the bridges in the middle; what to do comes
// last, where a terminal shows it.

#include <array>
#include <string_view>

#include "base/text.h"
#include "doctor/report.h"

namespace qv::doctor {

namespace {

constexpr std::array<std::string_view, 4> kOrigins{"named by nothing", "named by its variable",
                                                   "named by the seat file", "found by searching"};

std::string plural(std::int64_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

std::string line(std::string_view label, const std::string& words) {
  return "  " + text::padded(label, 9) + text::on_one_line(words) + "\n";
}

std::string words_of(const File& file) {
  std::string words = file.path;
  if (!file.exists) return words + ", not there";
  if (file.mode) words += ", mode " + *file.mode;
  if (file.length) words += ", " + plural(*file.length, "byte");
  if (file.ageSeconds) words += ", changed " + std::to_string(*file.ageSeconds) + "s ago";
  if (file.error) words += ", not readable: " + *file.error;
  return words;
}

std::string listener_of(const Candidate& candidate) {
  if (!candidate.user) return "";
  std::string words = candidate.process ? "process " + std::to_string(*candidate.process)
                                        : "a process that cannot be seen from here";
  if (candidate.program) words += " (" + *candidate.program + ")";
  return words + " of user " + std::to_string(*candidate.user);
}

std::string milliseconds(std::int64_t microseconds) {
  const std::string tenths = std::to_string(microseconds / 100 % 10);
  return std::to_string(microseconds / 1000) + "." + tenths + " ms";
}

std::string answer_of(const Candidate& candidate) {
  std::string words = candidate.answers ? "can be connected to" : candidate.error.value_or("none");
  if (candidate.kind) words = "`" + *candidate.kind + "`";
  if (candidate.microseconds) words += " after " + milliseconds(*candidate.microseconds);
  return words;
}

std::string section_of(const Bridge& bridge) {
  std::string out = "\n" + text::uppered(bridge.name) + "\n";
  if (bridge.candidates.empty()) return out + "  No socket was found.\n";
  for (const Candidate& candidate : bridge.candidates) {
    const auto origin = kOrigins[static_cast<std::size_t>(candidate.origin)];
    out += line("socket", candidate.socket + (candidate.exists ? "" : ", not there"));
    out += line("", std::string(origin) + (candidate.used ? ", used" : ", not used") + ", " +
                        std::to_string(candidate.pathLength) + " of at most " +
                        plural(candidate.pathLimit, "byte"));
    if (const auto listener = listener_of(candidate); !listener.empty()) {
      out += line("listener", listener);
    }
    out += line("answer", answer_of(candidate));
    out += line("token", words_of(candidate.token));
  }
  return out;
}

std::string section_of(const Pane& pane) {
  std::string out = "\nPANE\n" + line("session", pane.sessionID.empty() ? "none" : pane.sessionID) +
                    line("seat", words_of(pane.seatFile));
  if (pane.seatSocket) out += line("", "names " + *pane.seatSocket);
  if (pane.record) out += line("record", words_of(*pane.record));
  if (pane.lastSeenRev) out += line("", "has seen rev " + std::to_string(*pane.lastSeenRev));
  return out;
}

std::string lock_of(const Ledger& ledger) {
  if (!ledger.lockHeld) return "free";
  return "held" + (ledger.lockHolder ? " by process " + std::to_string(*ledger.lockHolder)
                                     : std::string(" by a process that is not told"));
}

std::string section_of(const Ledger& ledger) {
  std::string out = "\nBUILDS\n" + line("ledger", words_of(ledger.folder));
  if (ledger.folder.exists && !ledger.problem) out += line("lock", lock_of(ledger));
  if (!ledger.orphans.empty()) {
    out += line("orphans", text::joined(ledger.orphans, ", ") + ", which the next build removes");
  }
  const build::BuildQueue& queue = ledger.queue;
  return out + (queue.builds.empty() ? line("machine", build::render(queue.machine))
                                     : "\n" + build::render(queue) + "\n");
}

}  // namespace

std::string render(const Report& report) {
  const Program& program = report.program;
  std::string out = "qv " + program.version + ", commit " + program.commit + "\n" +
                    program.compiler + ", " + program.libc + ", " + program.target + "\n";
  out += section_of(report.pane);
  for (const Bridge& bridge : report.bridges) out += section_of(bridge);
  out += section_of(report.ledger) + "\nWHAT TO DO\n";
  if (report.advice.empty()) out += "  Nothing: all that is used here works.\n";
  for (const std::string& sentence : report.advice)
    out += "  - " + text::on_one_line(sentence) + "\n";
  out.pop_back();
  return out;
}

}  // namespace qv::doctor
