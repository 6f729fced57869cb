#include "base/thread.h"

#include <signal.h>

#include <cstddef>

namespace qv {

namespace {

constexpr std::size_t kStack = std::size_t{256} << 10;

}  // namespace

bool Thread::start(void (*job)(void*), void* context) {
  job_ = job;
  context_ = context;
  const auto run = [](void* self) -> void* {
    auto* thread = static_cast<Thread*>(self);
    thread->job_(thread->context_);
    return nullptr;
  };
  pthread_attr_t attributes;
  if (::pthread_attr_init(&attributes) != 0) return false;
  ::pthread_attr_setstacksize(&attributes, kStack);
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);  // the new thread takes the mask over
  pthread_t started{};
  if (::pthread_create(&started, &attributes, run, this) == 0) running_ = started;
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  ::pthread_attr_destroy(&attributes);
  return running_.has_value();
}

void Thread::join() {
  if (running_) ::pthread_join(*running_, nullptr);
  running_.reset();
}

}  // namespace qv
