#pragma once

#include <atomic>
#include <string_view>

namespace qv::build {

// This process's own standard output and error, on which a build is shown. A stream whose
// reader went away, or that cannot be written, is passed over from then on.
class PaneOutput {
 public:
  // Writes all bytes to stream 1 or 2, for as long as that takes.
  void show(int stream, std::string_view bytes);
  // Output is lost to `error`, a number of errno: said the first time.
  void lose(int error);

  [[nodiscard]] bool reader_has_gone(int stream) const { return gone_[stream - 1]; }
  // What this process ends with when the tool ended with `status`: success is not
  // reported by who has lost output.
  [[nodiscard]] int status_after(int status) const { return status == 0 && lost_ ? 1 : status; }

 private:
  // Read by one thread while another shows.
  std::atomic<bool> gone_[2] = {};
  std::atomic<bool> lost_ = false;
  bool unwritable_[2] = {};
};

}  // namespace qv::build
