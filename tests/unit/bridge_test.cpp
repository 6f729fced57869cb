#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstring>
#include <map>
#include <thread>

#include "base/descriptor.h"
#include "base/io.h"
#include "bridge/discovery.h"
#include "bridge/endpoint.h"
#include "bridge/transport.h"
#include "bridge/trust.h"
#include "command/environment.h"
#include "command/pane_state.h"
#include "platform/sockets.h"
#include "support.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using BridgeDiscovery::Kind;

// Binds a socket; it listens until the descriptor goes, and stays as a stale file then.
Descriptor bound(const std::string& path) {
  fs::create_directories(fs::path(path).parent_path());
  Descriptor listener(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  EXPECT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(::listen(listener.get(), 1), 0);
  return listener;
}

CLIEnvironment environment(const std::string& base, std::map<std::string, std::string> variables) {
  return CLIEnvironment::from(
      [&](std::string_view name) {
        const auto found = variables.find(std::string(name));
        return found == variables.end() ? std::nullopt : std::optional(found->second);
      },
      base);
}

TEST(Discovery, FindsTheOneLiveInstance) {
  const ScratchDirectory base;
  const auto stale = [&](const std::string& name) { bound(base.file(name)).reset(); };
  const Descriptor live = bound(base.file("Quorvel-2/teamwork-a.sock"));
  stale("Quorvel/teamwork-old.sock");
  stale("Quorvel2/teamwork-no.sock");
  stale(".Quorvel-x/teamwork-no.sock");
  base.write("Quorvel/teamwork-note.txt", "");
  base.write("Quorvel/vault-a.sock", "not a socket");
  fs::last_write_time(base.file("Quorvel-2/teamwork-a.sock"),
                      fs::file_time_type::clock::now() - std::chrono::hours(1));

  const auto found = BridgeDiscovery::candidates(Kind::teamwork, base.path());
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].socketPath, base.file("Quorvel/teamwork-old.sock")) << "newest first";
  EXPECT_EQ(found[1].tokenPath, base.file("Quorvel-2/teamwork-a.token"));
  EXPECT_EQ(BridgeDiscovery::live_socket(Kind::teamwork, base.path()), found[1].socketPath);
  EXPECT_EQ(BridgeDiscovery::live_socket(Kind::vault, base.path()), std::nullopt);
  EXPECT_EQ(environment(base.path(), {}).board.socket, found[1].socketPath);

  const Descriptor second = bound(base.file("Quorvel-3/teamwork-b.sock"));
  EXPECT_EQ(BridgeDiscovery::live_socket(Kind::teamwork, base.path()), std::nullopt)
      << "two instances, and nobody but the user can choose";
}

TEST(Discovery, PathsBesideASocket) {
  EXPECT_EQ(BridgeDiscovery::sibling("/x/mcp-4-2.sock", Kind::vault), "/x/vault-4-2.sock");
  EXPECT_EQ(BridgeDiscovery::sibling("mcp-42.sock", Kind::teamwork), "teamwork-42.sock");
  EXPECT_EQ(BridgeDiscovery::sibling("/x-y/mcp.sock", Kind::vault), "");
  EXPECT_EQ(BridgeDiscovery::token_path("/d.d/teamwork-7f3a.sock"), "/d.d/teamwork-7f3a.token");
  EXPECT_EQ(BridgeDiscovery::token_path("/d.d/plain"), "/d.d/plain.token");
  EXPECT_EQ(BridgeDiscovery::token_path(""), "");
}

TEST(Environment, VariablesThenSeatThenSearch) {
  const ScratchDirectory base;
  const Descriptor live = bound(base.file("Quorvel/teamwork-a.sock"));
  base.write("Quorvel/agent-seat", "secret\n /x/mcp-42.sock \n");
  const auto seated = environment(base.path(), {{"QUORVEL_COLLAB_TOKEN", "seed"}});
  EXPECT_EQ(seated.notes.socket, "/x/mcp-42.sock");
  EXPECT_EQ(seated.board.socket, "/x/teamwork-42.sock");
  EXPECT_EQ(seated.vault.token_file, "/x/vault-42.token");
  EXPECT_EQ(seated.board.token_seed, "seed");
  const auto told =
      environment(base.path(), {{"QUORVEL_COLLAB_SOCKET", ""}, {"QUORVEL_MCP_TOKEN_FILE", "/t"}});
  EXPECT_EQ(told.board.socket + told.board.token_file, "") << "present but empty: no search";
  EXPECT_EQ(told.notes.token_file, "/t");
  for (const auto* no_socket : {"secret", "secret\n  \n", "secret\n/x/mcp-\xff.sock\n"}) {
    base.write("Quorvel/agent-seat", no_socket);
    EXPECT_EQ(environment(base.path(), {}).board.socket, base.file("Quorvel/teamwork-a.sock"));
  }
}

TEST(Token, FileWinsUnlessItSaysNothing) {
  const ScratchDirectory directory;
  const auto token = [](const std::string& file) {
    return bridge::Endpoint{.token_file = file, .token_seed = "seed"}.token();
  };
  EXPECT_EQ(token(directory.write("a", "  abc\n")), "abc");
  EXPECT_EQ(token(directory.write("b", " \n\t")), "seed");
  EXPECT_EQ(token(directory.write("c", "\xff")), "seed");
  EXPECT_EQ(token(directory.path()), "seed");
  ASSERT_EQ(::mkfifo(directory.file("pipe").c_str(), 0600), 0);
  EXPECT_EQ(token(directory.file("pipe")), "seed") << "never waits for a writer";
}

TEST(Transport, PathsOf103BytesWorkAndNoLonger) {
  const ScratchDirectory directory;
  const std::string fits = directory.file(std::string(103 - directory.path().size() - 1, 's'));
  const Descriptor listener = bound(fits);
  EXPECT_TRUE(BridgeTransport::is_live(fits));
  EXPECT_FALSE(BridgeTransport::is_live(fits + "s"));
  EXPECT_FALSE(BridgeTransport::is_live(""));
}

// A peer that answers in the end, though too late: an exchange that waits for it gets a reply.
TEST(Transport, AWholeExchangeHasItsLimit) {
  struct {
    const char* what;
    std::size_t request_bytes = 1;
    int ahead_in_the_queue = 0;
    std::string reply = "a\n";
    int slowness = 1000;  // milliseconds before the request is read, and a tenth at each byte
  } const kCases[] = {{"a late answer"},
                      {"a request that is not taken", 4U << 20},
                      {"a full queue", 1, 2},
                      {"a reply that drips", 1, 0, "aaaaaaaaaaaaaaaaaaaaaa\n", 100}};
  for (const auto& row : kCases) {
    const ScratchDirectory directory;
    const std::string path = directory.file("s");
    const Descriptor listener = bound(path);
    ::fcntl(listener.get(), F_SETFL, O_NONBLOCK);
    for (int i = 0; i < row.ahead_in_the_queue; ++i) EXPECT_TRUE(BridgeTransport::is_live(path));
    std::thread bridge([&] {
      ::poll(nullptr, 0, row.slowness);
      Descriptor peer;
      for (int i = 0; i <= row.ahead_in_the_queue; ++i) {
        pollfd waiting{listener.get(), POLLIN, 0};
        ::poll(&waiting, 1, 500);
        peer = Descriptor(::accept(listener.get(), nullptr, nullptr));
      }
      static_cast<void>(io::read_to_end(peer.get(), SIZE_MAX));
      for (const char& byte : row.reply) {
        if (::send(peer.get(), &byte, 1, platform::send_flags()) != 1) break;
        ::poll(nullptr, 0, row.slowness / 10);
      }
    });
    const std::string request(row.request_bytes, 'r');
    EXPECT_FALSE(BridgeTransport::exchange(request, path, {.wholeExchangeSeconds = 0.2}))
        << row.what;
    bridge.join();
  }
}

TEST(Trust, OurselvesRootAndWhoeverCalledSudo) {
  struct Row {
    uid_t user, self;
    const char* sudo_user;
    bool trusted;
  };
  constexpr Row kRows[] = {
      {501, 501, nullptr, true}, {0, 501, nullptr, true},  {502, 501, nullptr, false},
      {502, 501, "502", false},  {501, 0, nullptr, false}, {501, 0, "501", true},
      {502, 0, "501", false},    {501, 0, "501 ", false},  {0, 0, "", true},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(trust::covers(row.user, row.self, row.sudo_user), row.trusted)
        << row.user << " " << row.self;
  }
}

// What another user left where anybody may leave things: a socket that answers, and the
// folder of a program. Only root can be two users.
TEST(Trust, WhatAnotherUserLeftIsNotUsed) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root";
  constexpr uid_t kOther = 12345;
  const ScratchDirectory shared;
  ASSERT_EQ(::chmod(shared.path().c_str(), 01777), 0);
  ASSERT_EQ(::seteuid(kOther), 0);
  const std::string path = shared.file("left/mcp-1.sock");
  const Descriptor listener = bound(path);
  const std::string program = shared.write("left/broker", "");
  ASSERT_EQ(::seteuid(0), 0);

  EXPECT_FALSE(BridgeTransport::is_live(path));

  fs::create_directories(shared.file("own"));
  fs::create_symlink("../left", shared.file("own/link"));
  const auto foreign = trust::foreign_component(shared.file("own/./link/broker"));
  ASSERT_TRUE(foreign);
  EXPECT_EQ(foreign->path, shared.file("left"));
  ASSERT_EQ(::chmod(shared.path().c_str(), 0755), 0);
  EXPECT_FALSE(trust::foreign_component(program)) << "an account that installs programs";
}

TEST(PaneState, KeepsAWholeRecordOrTheDefault) {
  const ScratchDirectory home;
  const std::string socket = home.file("board.sock");
  const PaneStateStore store("ab_c.d/e", socket);
  EXPECT_EQ(store.load(), PaneState{});
  const PaneState state{.lastSeenRev = 7, .hasCursor = true, .fingerprint = "f"};
  store.save(state);
  EXPECT_EQ(home.read("cli-state/abcde.json"),
            R"({"lastSeenRev":7,"hasCursor":true,"fingerprint":"f"})");
  EXPECT_EQ(fs::status(home.file("cli-state")).permissions(), fs::perms::owner_all);
  EXPECT_EQ(store.load(), state);
  for (const auto* bad :
       {R"({"lastSeenRev":7})", R"({"lastSeenRev":"7","hasCursor":true})", "", "{"}) {
    home.write("cli-state/abcde.json", bad);
    EXPECT_EQ(store.load(), PaneState{}) << bad;
  }
  PaneStateStore("..__", socket).save(state);
  PaneStateStore("", socket).save(state);
  EXPECT_EQ(std::distance(fs::directory_iterator(home.file("cli-state")), {}), 1);
}

TEST(PaneState, DoesWithoutADirectoryOfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root";
  const ScratchDirectory home;
  home.write("cli-state/P.json", R"({"lastSeenRev":7,"hasCursor":true})");
  ASSERT_EQ(::chown(home.file("cli-state").c_str(), 12345, 0), 0);
  EXPECT_EQ(PaneStateStore("P", home.file("board.sock")).load(), PaneState{});
  PaneStateStore("P", home.file("board.sock")).save({});
  EXPECT_EQ(home.read("cli-state/P.json"), R"({"lastSeenRev":7,"hasCursor":true})");
}

}  // namespace
}  // namespace qv
