// The app and its person are played through the same socket that the panes use, with methods
// that no command of qv sends.

#include "client.h"

#include <cstdlib>

#include "base/output.h"
#include "bridge/token.h"
#include "bridge/transport.h"
#include "cli/exit_code.h"

namespace qv::sandbox {

namespace {

// The request that the words stand for; absent when they are none of the known.
std::optional<TeamworkRequest> person_request(const std::vector<std::string>& words) {
  const std::string first = words.empty() ? "" : words[0];
  TeamworkRequest request = app_request("sandbox_" + first);
  if (first == "answer" && words.size() == 3) {
    request.taskID = words[1];
    request.body = words[2];
    return request;
  }
  if (first == "unlock" && words.size() == 2) {
    request.name = words[1];
    return request;
  }
  if (first == "squad" && words.size() == 2 && (words[1] == "on" || words[1] == "off")) {
    request.name = words[1];
    return request;
  }
  const bool alone = first == "confirm" || first == "reopen" || first == "code";
  return alone && words.size() == 1 ? std::optional(request) : std::nullopt;
}

}  // namespace

void complain(std::string_view sentence) {
  OutputStream(2).write_line("qv-sandbox: " + std::string(sentence));
}

std::optional<Instance> chosen_instance() {
  const char* named = std::getenv("QV_SANDBOX");
  const auto running = running_instances();
  for (const Instance& instance : running) {
    if (named == nullptr ? running.size() == 1 : instance.directory == named) return instance;
  }
  if (running.empty()) {
    complain("no sandbox is running. Start one with `qv-sandbox`.");
  } else if (named != nullptr) {
    complain("the sandbox that QV_SANDBOX names is not running.");
  } else {
    complain("several sandboxes are running. Choose one with QV_SANDBOX:");
    for (const Instance& instance : running)
      OutputStream(2).write_line("  QV_SANDBOX=" + instance.directory);
  }
  return std::nullopt;
}

TeamworkRequest app_request(std::string method) {
  TeamworkRequest request;
  request.method = std::move(method);
  return request;
}

std::optional<TeamworkResponse> ask(const Instance& instance, TeamworkRequest request) {
  request.token = bridge_token(instance.token_file("teamwork"), "");
  const auto reply = BridgeTransport::exchange(request, instance.socket("teamwork"));
  return reply ? record::from_text<TeamworkResponse>(reply->view()) : std::nullopt;
}

int person(const Instance& instance, const std::vector<std::string>& words) {
  const auto request = person_request(words);
  if (!request) {
    complain(
        "the person can answer, confirm, reopen, unlock, switch the squad and show the code. "
        "Run `qv-sandbox --help`.");
    return status_of(ExitCode::usage);
  }
  const auto reply = ask(instance, *request);
  if (!reply) {
    complain("the sandbox does not answer.");
    return status_of(ExitCode::unavailable);
  }
  OutputStream(1).write_line(reply->message.value_or(""));
  return status_of(reply->kind == TeamworkResponse::Kind::written ? ExitCode::ok
                                                                  : ExitCode::refused);
}

}  // namespace qv::sandbox
