// From one reading of the roster an agent learns whom it can reach and what it may start.
// The paragraphs name the methods of the bridge, which is how agents know them.

#include "board/squad_rendering.h"

#include <limits>
#include <map>
#include <set>
#include <utility>

#include "base/text.h"

namespace qv::board {

namespace {

struct StateWord {
  std::string_view state;
  std::string_view word;
};

constexpr StateWord kStateWords[] = {
    {"starting", "starting"},
    {"working", "working"},
    {"awaitingPermission", "WAITING ON THE PERSON to answer a permission prompt"},
    {"idle", "idle between turns"},
    {"error", "in error"},
    {"exited", "stopped"},  // whether it ended or was ended is all one to the reader
};

std::string_view state_word(std::string_view state) {
  for (const StateWord& row : kStateWords) {
    if (row.state == state) return row.word;
  }
  return state;
}

// The handles of the reader's own helpers and, down the chain of asking, of theirs.
std::set<std::string_view> own_helpers(const std::vector<TeamworkHelperRun>& runs) {
  std::multimap<std::string_view, std::string_view> asked;  // by whom, for whom
  std::vector<std::string_view> found;
  for (const TeamworkHelperRun& run : runs) {
    asked.emplace(run.askedBy, run.handle);
    if (run.yours) found.push_back(run.handle);
  }
  std::set<std::string_view> own;
  while (!found.empty()) {
    const std::string_view handle = found.back();
    found.pop_back();
    if (!own.insert(handle).second) continue;
    const auto [first, end] = asked.equal_range(handle);
    for (auto it = first; it != end; ++it) found.push_back(it->second);
  }
  return own;
}

std::string asked_for_by(const TeamworkHelperRun& run, const std::set<std::string_view>& own) {
  if (run.yours) return ", asked for by you";
  if (own.contains(run.askedBy)) {
    return ", asked for by your helper " + run.askedBy + ", so you may stop it";
  }
  return ", asked for by " + run.askedBy;
}

enum class Reach { takingWork, paused, notTaking, unreachable };

Reach reach_of(const TeamworkMac& mac) {
  if (!mac.addressable) return Reach::notTaking;
  if (!mac.awake) return Reach::unreachable;
  return mac.lead && mac.lead->paused ? Reach::paused : Reach::takingWork;
}

std::string machine(const TeamworkMac& mac) {
  std::string out = mac.name + " (@" + mac.tag;
  if (mac.lead) {
    out += ", lead \"" + mac.lead->name + "\"";
    if (mac.lead->runsWithoutApprovals) out += ", runs without asking for approval";
  }
  return out + ")";
}

// What is said behind the machines of one kind; `tag` is the first one's.
std::string reach_sentence(Reach reach, const std::string& machines, const std::string& tag) {
  switch (reach) {
    case Reach::takingWork:
      return "Taking work: " + machines + ". request_hands to: \"@" + tag +
             "\" sends the work to that device's "
             "lead, which may start its own helpers there; name no agent.";
    case Reach::paused:
      return "Paused: " + machines +
             ". Its lead's command changed and waits "
             "for the person to confirm it there, so request_hands to it is refused.";
    case Reach::notTaking:
      return "Not taking work from other devices: " + machines +
             ". request_hands to it is refused; that is the person's switch on that device.";
    case Reach::unreachable:
      return "Unreachable: " + machines +
             ". Asleep, shut, or off the "
             "network, so request_hands to it is refused.";
  }
  return "";
}

}  // namespace

std::string roster_row(const TeamworkAgent& agent) {
  std::string out = agent.fingerprint;
  if (agent.isSelf) out += " (you)";
  if (!agent.handle.empty() && !text::equal_ignoring_case(agent.handle, agent.name)) {
    out += "  " + agent.handle;
  }
  out += "  " + agent.name;
  if (agent.role) out += " " + *agent.role;
  out += "  " + agent.status;
  if (agent.activeClaims >= 1) out += " holding " + std::to_string(agent.activeClaims);
  if (agent.leaseSecondsRemaining >= 1) {
    out += " lease " + std::to_string(agent.leaseSecondsRemaining) + "s";
  }
  if (agent.quietForSeconds) out += " quiet " + std::to_string(*agent.quietForSeconds / 60) + "m";
  return text::on_one_line(std::move(out));
}

std::string squad_paragraph(const TeamworkSquadState& squad) {
  if (squad.mode == "on") {
    return "SQUAD: on for this thread, "
           "reaching the agents in this thread on this Mac, and the ones on your other Macs when "
           "you address them by name (`KQ3@name`) — each Mac decides for itself what it accepts"
           ". assign_task hands a "
           "peer a task and wakes it, send_message leaves one a short note, "
           "request_hands files work and starts a helper for it as one "
           "of the helpers listed below, and stop_helper stops a helper you "
           "asked for (list_agents shows which are yours). Squad is on because the person "
           "switched on at least one helper here in the Squad drawer.";
  }
  return "SQUAD: off for this thread, so assign_task, send_message and request_hands all refuse "
         "and no agent here can be addressed directly. Coordinate through the board — add_task "
         "filed here is claimable by every peer. Squad turns on when the person switches on a "
         "helper in the Squad drawer; until they do, a retry changes nothing.";
}

std::string helper_limit(const TeamworkSquadState& squad) {
  if (!squad.helperLimit || !squad.helpersRunning) return "";
  const std::string limit = std::to_string(*squad.helperLimit);
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  std::int64_t remaining = 0;
  if (__builtin_sub_overflow(*squad.helperLimit, *squad.helpersRunning, &remaining)) {
    remaining = *squad.helperLimit > 0 ? kMost : 0;
  }
  return "HELPER LIMIT: " + std::to_string(*squad.helpersRunning) + " of " + limit +
         " helpers are running in this thread, so " +
         (remaining < 1 ? "none may start until one is stopped. "
                        : std::to_string(remaining) + " more may start. ") +
         "The " + limit +
         " are shared by every agent here and a helper's own helpers count. "
         "The helpers you ask for are yours to manage: ask for no more than the work splits into, "
         "read each one's result when you are woken, and stop it then (stop_helper). A helper that "
         "has finished still counts until it is stopped, and closing your terminal stops every "
         "helper you asked for.";
}

std::string helpers_offered(const TeamworkSquadState& squad) {
  if (!squad.helpers || squad.helpers->empty()) {
    return "HELPERS HERE: none allowed in this thread, so request_hands files the work and starts "
           "nothing on this device. The person allows helpers in the Squad drawer; suggest_helper "
           "asks them to add one.";
  }
  std::vector<std::string> entries;
  for (const TeamworkHelper& helper : *squad.helpers) {
    std::vector<std::string_view> remarks;
    if (helper.runsWithoutApprovals) remarks.emplace_back("runs without asking for approval");
    if (!helper.quorvelTools) remarks.emplace_back("no Quorvel tools, only qv");
    std::string entry = helper.name;
    if (!helper.explanation.empty()) entry += " — " + helper.explanation;
    if (!remarks.empty()) entry += " (" + text::joined(remarks, "; ") + ")";
    entries.push_back(std::move(entry));
  }
  return text::on_one_line(
      "HELPERS HERE (request_hands agent: \"<name>\"" +
      std::string(entries.size() > 1 ? ", required when there is more than one" : "") +
      "): " + text::joined(entries, "; "));
}

std::string running_helpers(const std::vector<TeamworkHelperRun>& runs) {
  if (runs.empty()) return "";
  const auto own = own_helpers(runs);
  std::vector<std::string> entries;
  for (const TeamworkHelperRun& run : runs) {
    entries.push_back(run.handle + " (\"" + run.helper + "\", " +
                      std::string(state_word(run.state)) + asked_for_by(run, own) + ")");
  }
  return text::on_one_line(
      "HELPERS RUNNING HERE: " + text::joined(entries, "; ") +
      "."
      " stop_helper handle: \"<handle>\" stops one of yours (one you asked for, or one your "
      "helpers asked for) when you no longer need it; its claims go back to the pool.");
}

std::string nobody_home(const std::vector<TeamworkPane>& panes) {
  if (panes.empty()) return "";
  std::vector<std::string_view> handles;
  for (const TeamworkPane& pane : panes) handles.push_back(pane.handle);
  const bool one = panes.size() == 1;
  return "ALSO OPEN HERE, WITH NOBODY HOME: " + text::on_one_line(text::joined(handles, ", ")) +
         ". " + (one ? "That terminal exists" : "Those terminals exist") +
         " and no agent "
         "has confirmed in " +
         (one ? "it" : "them") +
         ", so nothing can be assigned or "
         "sent there and " +
         (one ? "it is" : "they are") +
         " not on the roster above. "
         "An agent appears once it registers. If you need those hands, say so — "
         "the person can start an agent there, or you can ask for a helper "
         "with request_hands.";
}

std::string other_machines(const std::vector<TeamworkMac>& macs) {
  if (macs.empty()) return "";
  std::string out = "YOUR OTHER DEVICES ON THIS THREAD.";
  for (const Reach reach :
       {Reach::takingWork, Reach::paused, Reach::notTaking, Reach::unreachable}) {
    std::vector<std::string> machines;
    std::string tag;
    for (const TeamworkMac& mac : macs) {
      if (reach_of(mac) != reach) continue;
      if (machines.empty()) tag = mac.tag;
      machines.push_back(machine(mac));
    }
    if (!machines.empty()) out += " " + reach_sentence(reach, text::joined(machines, ", "), tag);
  }
  std::vector<std::string_view> names;
  for (const TeamworkMac& mac : macs) names.push_back(mac.name);
  return text::on_one_line(out + " assign_task and send_message reach the terminals on " +
                           text::joined(names, ", ") + " by their own addresses (KQ3@" +
                           macs.front().tag +
                           "), "
                           "and wait there if that device is asleep.");
}

}  // namespace qv::board
