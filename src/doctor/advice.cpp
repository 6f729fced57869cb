// What the facts mean for whoever wants to get on with the work. The most telling ones come
// first: a terminal without a pane, then bridges that do not answer, then what lies around.

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "doctor/report.h"

namespace qv::doctor {

namespace {

constexpr std::int64_t kLongHeld = 5;  // seconds, after which builds go on without the lock

// What is wrong with a socket that does not answer; the sentence goes on from its path.
struct Remedy {
  int error;
  std::string_view words;
};

constexpr Remedy kRemedies[] = {
    {ENOENT, " is not there: the app that named it has quit. Start it again, and open a new pane."},
    {ECONNREFUSED,
     " has nobody who listens: the app has quit. Start it again, and open a new pane."},
    {ENOTSOCK,
     " is no socket: something else lies in its place. Remove that, and start the app again."},
    {ENAMETOOLONG,
     " is too long a path for a socket. Have the app keep its folder where the path is shorter."},
    {ETIMEDOUT,
     " took the request and did not answer in time: look at what its process does, or "
     "start the app again."},
    {EACCES, " is kept from this user: mend the owner and mode of it and of the folders above it."},
    {ECONNRESET, " hangs up without an answer: the app may be about to quit, or not be Quorvel."},
    {EBADMSG,
     " answers with nothing that this qv can read: another program listens there, or "
     "app and qv are of different times. Update the older one."},
};

using Lines = std::vector<std::string>;

void advise_about_silence(const Bridge& bridge, const Candidate& candidate, Lines& lines) {
  const std::string socket = "The " + bridge.name + " socket " + candidate.socket;
  const auto remedy = std::ranges::find(kRemedies, candidate.errorNumber, &Remedy::error);
  if (candidate.errorNumber == EACCES && candidate.user) {
    lines.push_back(socket + " is served by another user (uid " + std::to_string(*candidate.user) +
                    ") and is not talked to. Ask that user, or unset what names it.");
  } else if (remedy != std::end(kRemedies)) {
    lines.push_back(socket + std::string(remedy->words));
  } else {
    lines.push_back(socket +
                    " cannot be talked to: " + candidate.error.value_or("no reason given") + ".");
  }
}

bool others_can_read(const File& file) { return file.mode && !file.mode->ends_with("00"); }

void advise_about_token(const Bridge& bridge, const Candidate& candidate, Lines& lines) {
  const File& token = candidate.token;
  const std::string file = "The " + bridge.name + " token file " + token.path;
  const bool spare = candidate.tokenInVariable > 0;
  if (token.error) {
    lines.push_back(file + " cannot be read: " + *token.error + ". Mend its owner and mode.");
  } else if (!token.exists && !spare) {
    lines.push_back(file + " is not there, so requests carry no token. Start the app again.");
  } else if (token.length == 0 && !spare) {
    lines.push_back(file + " is empty, so requests carry no token. Start the app again.");
  }
  if (others_can_read(token)) {
    lines.push_back(file + " can be used by others: `chmod 600` it.");
  }
}

void advise_about(const Bridge& bridge, Lines& lines) {
  if (bridge.variableIsEmpty) {
    lines.push_back("The variable that names the " + bridge.name +
                    " socket is set and empty, so none is looked for: unset it.");
  }
  const auto used = std::ranges::find(bridge.candidates, true, &Candidate::used);
  if (used == bridge.candidates.end()) {
    const auto live = std::ranges::count(bridge.candidates, true, &Candidate::answers);
    if (live < 2) return;
    lines.push_back("Several instances of the app serve the " + bridge.name +
                    ", and nothing says which one is meant: run qv in a pane of one of them.");
    return;
  }
  if (!used->answers) advise_about_silence(bridge, *used, lines);
  if (used->kind == "error" || used->kind == "gated") {
    lines.push_back("The " + bridge.name + " bridge answers, but refuses this terminal: `qv " +
                    (bridge.name == "notes" ? "note list" : "board agents") + "` says why.");
  }
  advise_about_token(bridge, *used, lines);
}

void advise_about(const Pane& pane, Lines& lines) {
  if (pane.sessionID.empty()) {
    lines.emplace_back(
        "QUORVEL_SESSION_ID is not set, so this terminal is no pane of a Thread: run qv in a pane "
        "of the app.");
  }
  if (pane.seatFile.exists && !pane.seatSocket) {
    lines.push_back("The seat file " + pane.seatFile.path +
                    " names no socket: take the seat again with `qv join <code>`.");
  }
  if (pane.record && pane.record->error) {
    lines.push_back("The pane's record " + pane.record->path +
                    " cannot be read: " + *pane.record->error + ". Mend its owner and mode.");
  } else if (pane.record && pane.record->exists && !pane.lastSeenRev) {
    lines.push_back("The pane's record " + pane.record->path +
                    " cannot be made sense of: remove it, and the next wait starts anew.");
  }
}

void advise_about(const Ledger& ledger, Lines& lines) {
  if (ledger.problem) {
    lines.push_back("Builds are not coordinated here: " + *ledger.problem);
  } else if (!ledger.isPrivate) {
    lines.push_back("Builds are not coordinated here, since " + ledger.folder.path +
                    " is another user's or others can write to it: `chmod 700` it.");
  }
  if (ledger.lockHeld && ledger.lock.ageSeconds.value_or(0) >= kLongHeld) {
    lines.push_back("The ledger's lock has been held for " +
                    std::to_string(*ledger.lock.ageSeconds) + "s, and builds go on without it: " +
                    (ledger.lockHolder
                         ? "look at process " + std::to_string(*ledger.lockHolder) + "."
                         : "look for a build that hangs."));
  }
}

}  // namespace

std::vector<std::string> advice(const Report& report) {
  Lines lines;
  advise_about(report.pane, lines);
  const auto finds_nothing = [](const Bridge& bridge) { return bridge.candidates.empty(); };
  if (std::ranges::all_of(report.bridges, finds_nothing)) {
    lines.emplace_back(
        "Nothing points to an app that runs: start it, and run qv in one of its panes. To practise "
        "without it, run `qv-sandbox`.");
  }
  for (const Bridge& bridge : report.bridges) advise_about(bridge, lines);
  advise_about(report.ledger, lines);
  return lines;
}

}  // namespace qv::doctor
