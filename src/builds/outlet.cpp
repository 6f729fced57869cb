// The log is the buffer between a tool that must not wait and a reader who may let it. As
// long as the reader keeps up, a chunk goes from memory. When the few chunks are full, the
// log's end is remembered, nothing more is handed over, and the thread reads on there when it
// has shown the chunks; once it has caught up, chunks are handed over again. A chunk that
// found no place in the log waits for all of that, and the tool with it.

#include "builds/outlet.h"

#include <cerrno>
#include <utility>

namespace qv::build {

std::unique_ptr<Outlet> Outlet::start(PaneOutput& pane, Descriptor log) {
  auto changed = Notice::open();
  if (!changed || !log.valid()) return nullptr;
  std::unique_ptr<Outlet> outlet(new Outlet(pane, std::move(log), std::move(*changed)));
  const auto job = [](void* self) { static_cast<Outlet*>(self)->show_all(); };
  if (!outlet->thread_.start(job, outlet.get())) return nullptr;
  return outlet;
}

Outlet::Outlet(PaneOutput& pane, Descriptor log, Notice changed)
    : pane_(pane),
      tail_(std::move(log), pane),
      changed_(std::move(changed)),
      chunks_(new std::array<Chunk, kChunks>) {}

void Outlet::pass(int stream, std::size_t count, off_t log_end) {
  {
    const std::lock_guard lock(mutex_);
    Chunk& full = chunk(passed_);
    full.stream = stream;
    full.size = count;
    const off_t log_end_before = std::exchange(log_end_, log_end);
    if (has_room()) {
      ++passed_;
    } else if (log_end == log_end_before) {
      parked_ = true;
    } else if (!std::exchange(behind_, true)) {
      tail_.skip_to(log_end_before);
    }
  }
  passed_something_.notify_one();
}

bool Outlet::takes_more() {
  const std::lock_guard lock(mutex_);
  awaited_ = !has_room() || parked_;
  return !awaited_;
}

void Outlet::finish() {
  {
    const std::lock_guard lock(mutex_);
    finished_ = true;
  }
  passed_something_.notify_one();
  thread_.join();
}

void Outlet::show_all() {
  std::unique_lock lock(mutex_);
  for (;;) {
    passed_something_.wait(lock, [&] { return passed_ != shown_ || behind_ || finished_; });
    if (passed_ != shown_) {
      show_chunk(lock);
    } else if (behind_) {
      show_log(lock);
    } else {
      return;
    }
    if (parked_ && has_room()) {
      parked_ = false;
      ++passed_;
    }
    if (awaited_ && has_room()) {
      awaited_ = false;
      changed_.give();
    }
  }
}

void Outlet::show_chunk(std::unique_lock<std::mutex>& lock) {
  const Chunk& next = chunk(shown_);
  lock.unlock();
  pane_.show(next.stream, {next.bytes.data(), next.size});
  tell_who_went_away();
  lock.lock();
  ++shown_;
}

void Outlet::show_log(std::unique_lock<std::mutex>& lock) {
  const off_t end = log_end_;
  lock.unlock();
  if (!tail_.show_until(end) || tail_.position() != end) pane_.lose(EIO);
  tail_.skip_to(end);
  tell_who_went_away();
  lock.lock();
  behind_ = log_end_ != end;
}

void Outlet::tell_who_went_away() {
  const int readers = 2 - pane_.reader_has_gone(1) - pane_.reader_has_gone(2);
  if (std::exchange(readers_, readers) != readers) changed_.give();
}

}  // namespace qv::build
