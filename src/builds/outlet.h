#pragma once

#include <sys/types.h>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <span>

#include "base/descriptor.h"
#include "base/notice.h"
#include "base/thread.h"
#include "builds/log.h"
#include "builds/log_tail.h"
#include "builds/pane_output.h"

namespace qv::build {

// Shows the tool's output in the pane on a thread of its own, so that only this thread
// stalls with the pane's readers. It may fall behind by as much as the log holds.
class Outlet {
 public:
  // `log` is the build's own log, open for reading. Null without one, and when the system
  // refuses thread or pipe.
  [[nodiscard]] static std::unique_ptr<Outlet> start(PaneOutput& pane, Descriptor log);
  Outlet(const Outlet&) = delete;
  Outlet& operator=(const Outlet&) = delete;
  ~Outlet() { finish(); }

  // Where the next chunk is to be read to.
  [[nodiscard]] std::span<char> space() { return chunk(passed_).bytes; }
  // Takes over the first `count` bytes there. `log_end` is the size of the log now. From the
  // first chunk on that did not make it grow, none is read but when takes_more().
  void pass(int stream, std::size_t count, off_t log_end);

  // Whether there is room for a chunk that is in no log. If not, changed() tells when to
  // ask again.
  [[nodiscard]] bool takes_more();
  // Given when there is room that was waited for, and when a reader went away.
  [[nodiscard]] const Notice& changed() const { return changed_; }

  // Returns when everything is shown.
  void finish();

 private:
  struct Chunk {
    int stream = 1;
    std::size_t size = 0;
    std::array<char, BuildLog::kLargestPayload> bytes;
  };
  // One of these is always being filled.
  static constexpr std::size_t kChunks = 5;

  Outlet(PaneOutput& pane, Descriptor log, Notice changed);
  Chunk& chunk(std::size_t number) { return (*chunks_)[number % kChunks]; }
  [[nodiscard]] bool has_room() const { return !behind_ && passed_ - shown_ < kChunks - 1; }
  void show_all();
  void show_chunk(std::unique_lock<std::mutex>& lock);
  void show_log(std::unique_lock<std::mutex>& lock);
  void tell_who_went_away();

  PaneOutput& pane_;
  LogTail tail_;
  Notice changed_;
  std::unique_ptr<std::array<Chunk, kChunks>> chunks_;
  int readers_ = 2;  // as last told

  std::mutex mutex_;  // for all below but the thread
  std::condition_variable passed_something_;
  std::size_t passed_ = 0;  // chunks, ever; the next one is being filled
  std::size_t shown_ = 0;   // of these
  off_t log_end_ = 0;
  bool behind_ = false;   // what comes after the chunks is shown from the log
  bool parked_ = false;   // the chunk being filled is full, and comes after the log
  bool awaited_ = false;  // room
  bool finished_ = false;

  Thread thread_;
};

}  // namespace qv::build
