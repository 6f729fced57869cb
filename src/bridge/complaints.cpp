#include "bridge/complaints.h"

namespace qv::complaints {

std::string served_by_another_user(const std::string& socket_path,
                                   const BridgeTransport::Outcome& outcome) {
  if (!outcome.foreign_user) return "";
  return "qv: " + socket_path + " is served by another user (uid " +
         std::to_string(*outcome.foreign_user) + "); not talking to it.";
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
