#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/request.h"
#include "board/response.h"
#include "instance.h"

// What qv-sandbox says to a sandbox that runs already.
namespace qv::sandbox {

void complain(std::string_view sentence);

// The running sandbox that QV_SANDBOX names, or the only one; absent, with a complaint, when
// that is none.
[[nodiscard]] std::optional<Instance> chosen_instance();

// A request without a caller, in the name of the app itself.
[[nodiscard]] TeamworkRequest app_request(std::string method);
// One exchange with the sandbox's board; absent when it does not answer.
[[nodiscard]] std::optional<TeamworkResponse> ask(const Instance& instance,
                                                  TeamworkRequest request);

// Does what only the person at the app can do; `words` follow "person" on the command line.
// Gives the exit status.
[[nodiscard]] int person(const Instance& instance, const std::vector<std::string>& words);

}  // namespace qv::sandbox
