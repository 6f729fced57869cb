#include "bridge/complaints.h"

namespace qv::complaints {

std::string served_by_another_user(const std::string& socket_path,
                                   const BridgeTransport::Outcome& outcome) {
  if (!outcome.foreign) return "";
  const auto user = outcome.foreign_user;
  return "qv: " + socket_path + " is served by " +
         (user ? "another user (uid " + std::to_string(*user) + ")"
               : "a user whom the system does not name") +
         "; not talking to it.";
}

std::string not_answering(std::string_view bridge, const std::string& socket_path,
                          const BridgeTransport::Outcome& outcome) {
  const std::string reason = served_by_another_user(socket_path, outcome);
  return "qv: the Quorvel " + std::string(bridge) +
         " is not answering. The app may be starting, or this "
         "pane may belong to a Quorvel instance that has since quit." +
         (reason.empty() ? "" : "\n" + reason);
}

}  // namespace qv::complaints
