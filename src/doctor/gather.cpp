// Facts only: what they mean is for advice.cpp. Each bridge is asked something that changes
// nothing, and a pane's record is read past its store, which would make a place for it.

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/files.h"
#include "base/text.h"
#include "board/request.h"
#include "board/response.h"
#include "builds/ledger_look.h"
#include "command/environment.h"
#include "command/pane_state.h"
#include "doctor/program.h"
#include "doctor/report.h"
#include "notes/request.h"
#include "notes/response.h"
#include "platform/clock.h"
#include "platform/file_times.h"
#include "platform/paths.h"
#include "platform/process_info.h"

namespace qv::doctor {

namespace {

using BridgeDiscovery::Kind;

constexpr double kPatience = 2;  // seconds for one answer

// What else stands in the way of looking says nothing about whether the file is there.
bool means_absent(int error) {
  return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG;
}

std::int64_t age_of(const struct stat& status) {
  return static_cast<std::int64_t>(platform::wall_clock_seconds()) -
         platform::modification_time(status).seconds;
}

// Opens the file too, since its mode alone does not say whether it can be read.
File look_at(const std::string& path) {
  File file{.path = text::repaired(path)};
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    file.exists = !means_absent(errno);
    if (file.exists) file.error = std::strerror(errno);
    return file;
  }
  char mode[8];
  std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(status.st_mode & 07777U));
  file.exists = true;
  file.mode = mode;
  file.ageSeconds = age_of(status);
  if (S_ISDIR(status.st_mode)) return file;
  file.length = status.st_size;
  if (!files::read(path)) file.error = std::strerror(errno);
  return file;
}

// Linux says of a file in a socket's place that nobody listens.
bool is_something_else(const std::string& socket) {
  struct stat status {};
  return ::stat(socket.c_str(), &status) == 0 && !S_ISSOCK(status.st_mode);
}

template <class Response>
std::optional<std::string> kind_in(std::string_view reply) {
  const auto response = record::from_text<Response>(reply);
  return response ? std::optional(std::string(record::word(response->kind))) : std::nullopt;
}

template <class Request>
BridgeTransport::Reply ask(const bridge::Endpoint& endpoint, const std::string& sessionID,
                           std::string_view method) {
  Request request;
  request.method = method;
  return bridge::ask(endpoint, sessionID, request,
                     BridgeTransport::Options{.wholeExchangeSeconds = kPatience});
}

// What is asked of a bridge, and how the kind of its answer is read.
struct Question {
  std::string_view bridge;
  Kind kind;
  bridge::Endpoint CLIEnvironment::*endpoint;
  std::string_view method;  // empty: to be connected to is enough
  BridgeTransport::Reply (*ask)(const bridge::Endpoint&, const std::string&, std::string_view);
  std::optional<std::string> (*kind_in)(std::string_view reply);
};

constexpr Question kQuestions[] = {
    {"board", Kind::teamwork, &CLIEnvironment::board, "list_agents", &ask<TeamworkRequest>,
     &kind_in<TeamworkResponse>},
    {"notes", Kind::mcp, &CLIEnvironment::notes, "list_notes", &ask<MCPBridgeRequest>,
     &kind_in<MCPBridgeResponse>},
    {"vault", Kind::vault, &CLIEnvironment::vault, "", nullptr, nullptr},
};

void set_error(Candidate& candidate, int error) {
  candidate.errorNumber = error;
  candidate.error = std::strerror(error);
}

void question(Candidate& candidate, const bridge::Endpoint& endpoint, const Question& question,
              const std::string& sessionID) {
  const double start = platform::monotonic_seconds();
  const auto reply = question.ask(endpoint, sessionID, question.method);
  if (!reply) return set_error(candidate, reply.error);
  candidate.microseconds = static_cast<std::int64_t>((platform::monotonic_seconds() - start) * 1e6);
  candidate.kind = question.kind_in(reply.view());
  candidate.answers = candidate.kind.has_value();
  if (!candidate.answers) set_error(candidate, EBADMSG);
}

Candidate look_at(const bridge::Endpoint& endpoint, const Question& about,
                  const std::string& sessionID) {
  Candidate candidate{.socket = text::repaired(endpoint.socket), .origin = endpoint.origin};
  candidate.exists = files::exists(endpoint.socket) || !means_absent(errno);
  candidate.pathLength = static_cast<std::int64_t>(endpoint.socket.size());
  candidate.pathLimit = BridgeTransport::kLongestPath;
  if (!endpoint.token_file.empty()) candidate.token = look_at(endpoint.token_file);
  candidate.tokenInVariable = static_cast<std::int64_t>(endpoint.token_seed.size());
  const auto contact = BridgeTransport::contact(endpoint.socket);
  candidate.user = contact.user;
  candidate.process = contact.process;
  if (contact.process) {
    const auto words = platform::command_line(*contact.process);
    if (!words.empty()) candidate.program = text::repaired(files::name_of(words.front()));
  }
  const bool busy = contact.error == EAGAIN;
  if (contact.error != 0 && !busy) {
    set_error(candidate, is_something_else(endpoint.socket) ? ENOTSOCK : contact.error);
  } else if (!busy && !contact.trusted) {
    set_error(candidate, EACCES);
  } else if (about.method.empty()) {
    candidate.answers = true;
  } else {
    question(candidate, endpoint, about, sessionID);
  }
  return candidate;
}

Bridge look_at(const Question& about, const CLIEnvironment& env, const std::string& base) {
  const bridge::Endpoint& used = env.*about.endpoint;
  Bridge bridge{.name = std::string(about.bridge),
                .variableIsEmpty = used.origin == bridge::Origin::variable && used.socket.empty()};
  std::vector<std::string> seen;
  for (const auto& endpoint : every_endpoint(about.kind, process_variable, base)) {
    if (endpoint.socket.empty() || std::ranges::find(seen, endpoint.socket) != seen.end()) continue;
    seen.push_back(endpoint.socket);
    bridge.candidates.push_back(look_at(endpoint, about, env.sessionID));
    bridge.candidates.back().used = endpoint.socket == used.socket;
  }
  return bridge;
}

Pane look_at_pane(const CLIEnvironment& env) {
  Pane pane{.sessionID = env.sessionID, .seatFile = look_at(env.agentSeatFile)};
  pane.seatSocket = BridgeDiscovery::seat_socket(env.agentSeatFile);
  const auto path = PaneStateStore::file_of(env.sessionID, env.board.socket);
  if (!path) return pane;
  pane.record = look_at(*path);
  const auto content = files::read(*path);
  const auto state = content ? record::from_text<PaneState>(*content) : std::nullopt;
  if (state) pane.lastSeenRev = state->lastSeenRev;
  return pane;
}

Ledger look_at_ledger(const std::string& program) {
  const std::string directory = build::ledger_directory();
  build::LedgerLook look = build::look_at_ledger(directory);
  const build::LockLook lock = build::look_at_lock(directory);
  Ledger ledger{.folder = look_at(directory), .isPrivate = look.is_private};
  if (!look.problem.empty()) ledger.problem = text::repaired(look.problem);
  ledger.lock = look_at(directory + "/lock");
  ledger.lockHeld = lock.held;
  ledger.lockHolder = lock.holder;
  ledger.orphans = std::move(look.orphans);
  ledger.queue =
      build::queue_now(look.builds, build::Readings(build::read_environment(), program, directory));
  return ledger;
}

}  // namespace

Report gather(const std::string& program) {
  const std::string base = platform::application_support_directory();
  const auto env = CLIEnvironment::from(process_variable, base);
  Report report{.program = this_program(), .pane = look_at_pane(env)};
  for (const Question& about : kQuestions) report.bridges.push_back(look_at(about, env, base));
  report.ledger = look_at_ledger(program);
  for (const Bridge& bridge : report.bridges) {
    report.healthy &= std::ranges::none_of(bridge.candidates, [](const Candidate& candidate) {
      return candidate.used && !candidate.answers;
    });
  }
  report.advice = advice(report);
  return report;
}

}  // namespace qv::doctor
