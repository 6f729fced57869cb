// The leases of a ledger come from other processes, of other versions and with other clocks.
// Whatever they say, the queue can be shown.

#include "base/text.h"
#include "builds/queue_view.h"
#include "support/support.h"

namespace qv::fuzz {

namespace {

using namespace build;

std::vector<SeenBuild> builds_of(std::string_view bytes, Input& choices) {
  std::vector<SeenBuild> builds;
  const auto add = [&](std::optional<BuildLease> lease) {
    if (!lease || !std::in_range<std::uint16_t>(lease->jobs)) return;  // those no ledger hands out
    check_stable(*lease);
    const double age = static_cast<double>(choices.integer());
    builds.push_back({{std::move(*lease), age, choices.coin()}, {choices.text()}, choices.text()});
  };
  for (const auto line : text::split(bytes, '\n')) add(record::from_text<BuildLease>(line));
  while (!choices.empty() && builds.size() < 8) {
    BuildLease made;
    fill(choices, made);
    add(std::move(made));
  }
  return builds;
}

BuildMemory memory_of(Input& in) {
  return {.pressure = static_cast<int>(in.below(6)),
          .cores = static_cast<int>(in.below(65)) + 1,
          .available = in.coin() ? std::optional<std::uint64_t>(in.integer()) : std::nullopt,
          .governed = in.coin(),
          .bounded = in.coin()};
}

}  // namespace

void try_input(std::string_view bytes) {
  const std::size_t end = bytes.starts_with('{') ? std::min(bytes.rfind('\n'), bytes.size()) : 0;
  Input choices(bytes.substr(end));
  const BuildMemory memory = memory_of(choices);
  const auto builds = builds_of(bytes.substr(0, end), choices);
  const BuildQueue queue = queue_of(builds, memory, 1e9);
  check_stable(queue);
  promise(queue.builds.size() == builds.size(), "each build is in the queue");
  const std::string shown = render(queue);
  check_printed(shown);
  std::size_t rows = 1 + builds.size();
  for (const bool running : {true, false}) {
    const auto stands = [&](const QueuedBuild& build) { return build.running == running; };
    if (std::ranges::any_of(queue.builds, stands)) rows += 2;  // a heading, a blank line below
  }
  promise(text::split(shown, '\n').size() == rows, "each build is one row", shown);
}

}  // namespace qv::fuzz
