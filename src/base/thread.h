#pragma once

#include <pthread.h>

#include <optional>

namespace qv {

// A second thread for one job that blocks: its stack is small, and no signal is delivered
// to it. Joined when the object goes.
class Thread {
 public:
  Thread() = default;
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  ~Thread() { join(); }

  // Runs `job(context)` on it; false when the system refuses.
  [[nodiscard]] bool start(void (*job)(void*), void* context);
  // Returns when the job has. Does nothing without one.
  void join();

 private:
  void (*job_)(void*) = nullptr;
  void* context_ = nullptr;
  std::optional<pthread_t> running_;
};

}  // namespace qv
