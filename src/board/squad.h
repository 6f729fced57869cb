#pragma once

// The roster and the squad: seats, helpers, terminals with nobody home, other machines.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/record.h"

namespace qv {

// One seat on the board.
struct TeamworkAgent {
  std::string id;
  std::string fingerprint;
  std::string name;
  std::string status;
  std::int64_t leaseSecondsRemaining = 0;
  bool isSelf = false;
  bool idle = false;
  std::optional<std::string> role;
  std::string authority = "contributor";
  bool canVerify = false;
  std::int64_t activeClaims = 0;
  std::optional<std::string> device;
  std::optional<std::string> seatPresence;
  std::optional<std::string> roleNote;
  std::string handle;
  std::optional<std::int64_t> quietForSeconds;
  bool stoodDown = false;
};

template <>
struct record::Schema<TeamworkAgent> {
  static constexpr auto fields = std::tuple{
      required("id", &TeamworkAgent::id),
      required("fingerprint", &TeamworkAgent::fingerprint),
      required("name", &TeamworkAgent::name),
      required("status", &TeamworkAgent::status),
      required("leaseSecondsRemaining", &TeamworkAgent::leaseSecondsRemaining),
      required("isSelf", &TeamworkAgent::isSelf),
      defaulted("idle", &TeamworkAgent::idle),
      optional("role", &TeamworkAgent::role),
      defaulted("authority", &TeamworkAgent::authority),
      required("canVerify", &TeamworkAgent::canVerify),
      required("activeClaims", &TeamworkAgent::activeClaims),
      optional("device", &TeamworkAgent::device),
      optional("seatPresence", &TeamworkAgent::seatPresence),
      optional("roleNote", &TeamworkAgent::roleNote),
      defaulted("handle", &TeamworkAgent::handle),
      optional("quietForSeconds", &TeamworkAgent::quietForSeconds),
      defaulted("stoodDown", &TeamworkAgent::stoodDown),
  };
};

// A helper that may be started.
struct TeamworkHelper {
  std::string name;
  std::string explanation;
  bool runsWithoutApprovals = false;
  bool quorvelTools = false;
};

template <>
struct record::Schema<TeamworkHelper> {
  static constexpr auto fields = std::tuple{
      required("name", &TeamworkHelper::name),
      required("explanation", &TeamworkHelper::explanation),
      required("runsWithoutApprovals", &TeamworkHelper::runsWithoutApprovals),
      required("quorvelTools", &TeamworkHelper::quorvelTools),
  };
};

// The agent that takes work in on another machine.
struct TeamworkLead {
  std::string name;
  bool runsWithoutApprovals = false;
  bool paused = false;
};

template <>
struct record::Schema<TeamworkLead> {
  static constexpr auto fields = std::tuple{
      required("name", &TeamworkLead::name),
      required("runsWithoutApprovals", &TeamworkLead::runsWithoutApprovals),
      required("paused", &TeamworkLead::paused),
  };
};

// What this Thread allows for helpers.
struct TeamworkSquadState {
  std::string mode;
  bool canAddress = false;
  bool canSpawn = false;
  std::optional<std::vector<TeamworkHelper>> helpers;
  std::optional<TeamworkLead> lead;
  std::optional<std::int64_t> helperLimit;
  std::optional<std::int64_t> helpersRunning;
};

template <>
struct record::Schema<TeamworkSquadState> {
  static constexpr auto fields = std::tuple{
      required("mode", &TeamworkSquadState::mode),
      required("canAddress", &TeamworkSquadState::canAddress),
      required("canSpawn", &TeamworkSquadState::canSpawn),
      optional("helpers", &TeamworkSquadState::helpers),
      optional("lead", &TeamworkSquadState::lead),
      optional("helperLimit", &TeamworkSquadState::helperLimit),
      optional("helpersRunning", &TeamworkSquadState::helpersRunning),
  };
};

// A terminal with nobody home.
struct TeamworkPane {
  std::string handle;
};

template <>
struct record::Schema<TeamworkPane> {
  static constexpr auto fields = std::tuple{
      required("handle", &TeamworkPane::handle),
  };
};

// Another of the person's machines on this Thread.
struct TeamworkMac {
  std::string tag;
  std::string name;
  bool addressable = false;
  bool awake = false;
  std::optional<TeamworkLead> lead;
};

template <>
struct record::Schema<TeamworkMac> {
  static constexpr auto fields = std::tuple{
      required("tag", &TeamworkMac::tag),
      required("name", &TeamworkMac::name),
      required("addressable", &TeamworkMac::addressable),
      required("awake", &TeamworkMac::awake),
      optional("lead", &TeamworkMac::lead),
  };
};

// A helper that is running here.
struct TeamworkHelperRun {
  std::string handle;
  std::string helper;
  std::string state;
  std::string askedBy;
  std::optional<std::int64_t> runningForSeconds;
  std::optional<std::string> detail;
  bool yours = false;
  std::optional<std::string> kind;
};

template <>
struct record::Schema<TeamworkHelperRun> {
  static constexpr auto fields = std::tuple{
      required("handle", &TeamworkHelperRun::handle),
      required("helper", &TeamworkHelperRun::helper),
      required("state", &TeamworkHelperRun::state),
      required("askedBy", &TeamworkHelperRun::askedBy),
      optional("runningForSeconds", &TeamworkHelperRun::runningForSeconds),
      optional("detail", &TeamworkHelperRun::detail),
      required("yours", &TeamworkHelperRun::yours),
      optional("kind", &TeamworkHelperRun::kind),
  };
};

}  // namespace qv
