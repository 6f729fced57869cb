// A terminal belongs to one Thread at a time, and only the app knows to which: the terminal's
// own session, and so whatever runs in it, stays the same when the person moves its tab.

#include "app.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "helpers.h"

namespace qv::sandbox {

namespace {

// The n-th handle: two letters and a digit, all different for the first few hundred panes,
// and the same in every run, so that a transcript can be told again.
std::string nth_handle(std::size_t n) {
  constexpr std::string_view kLetters = "ABCDEFGHJKLMNPQRSTUVWXYZ";
  return {kLetters[(9 + n * 7) % kLetters.size()],
          kLetters[(14 + n * 5 + n / kLetters.size()) % kLetters.size()],
          static_cast<char>('0' + (3 + n * 3) % 10)};
}

// The n-th fingerprint, the same in every run as well.
std::string nth_fingerprint(std::size_t n) {
  constexpr std::uint32_t kSpread = 0x9e3779b1;  // odd, so that no two are the same
  std::array<char, 9> digits{};
  std::snprintf(digits.data(), digits.size(), "%08x", static_cast<std::uint32_t>(n + 1) * kSpread);
  return digits.data();
}

}  // namespace

App::App(Instance where, std::string its_token, std::chrono::seconds its_lease)
    : instance(std::move(where)), token(std::move(its_token)), lease(its_lease) {
  open_thread("Practice Thread");
}

void App::advance() {
  for (Thread& thread : threads) thread.advance();
}

Thread& App::open_thread(const std::string& name) {
  const std::size_t n = threads.size() + 1;
  return threads.emplace_back(Thread{.tag = n == 1 ? "T-sandbx" : "T-sandb" + std::to_string(n),
                                     .lease = lease,
                                     .plan = {.threadName = name},
                                     .join_code = new_join_code(),
                                     .helpers = {practice_helper()}});
}

Pane& App::open_pane(Thread& thread, const std::string& session, pid_t pid) {
  const std::size_t n = panes_opened++;
  Pane& pane = thread.panes.emplace_back();
  pane.id = session.empty() ? "pane-" + std::to_string(n + 1) : session;
  pane.handle = nth_handle(n);
  pane.fingerprint = nth_fingerprint(n);
  pane.name = pane.handle;
  pane.pid = pid;
  return pane;
}

void App::move(Thread& from, Pane& pane, Thread& to) {
  from.close(pane, "moved to another Thread");
  // It may have been there before, and left its name.
  const auto known = std::ranges::find(to.panes, pane.fingerprint, &Pane::fingerprint);
  Pane& arrived = known == to.panes.end() ? to.panes.emplace_back() : *known;
  arrived = {};
  arrived.id = std::exchange(pane.id, "");
  arrived.handle = pane.handle;
  arrived.fingerprint = pane.fingerprint;
  arrived.name = pane.name;
  arrived.secret = std::exchange(pane.secret, "");
  arrived.pid = std::exchange(pane.pid, 0);
  pane.watch.reset();
  // What it has seen so far must not be taken for what it has seen here.
  to.rev = std::max(to.rev, from.rev);
}

App::Place App::place_of(std::string_view session) {
  for (Thread& thread : threads) {
    if (Pane* pane = thread.pane_of(session)) return {thread, pane};
  }
  return {threads.front(), nullptr};
}

std::string new_join_code() { return random_hex(4) + "-" + random_hex(4); }

}  // namespace qv::sandbox
