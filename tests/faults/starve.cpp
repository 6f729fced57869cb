// Lets one allocation of a program fail, or all from one on. It counts from main() on, so that
// what the libraries set up for themselves is there; only the program is hurt, not what it starts.
// STARVE_AT is the number, with a "+" behind it for "and on", or "count"; into the file STARVE_TELL
// goes a byte for each failure, or for each allocation.

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <initializer_list>

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

}  // extern "C"

namespace {

using Main = int (*)(int, char**, char**);

std::atomic<bool> counting = false;
std::atomic<long> number = 0;
long fails_at = 0;  // 0: never
bool fails_on = false;
int told = -1;
Main real_main = nullptr;

bool fails() {
  if (!counting) return false;
  const long now = ++number;
  const bool hit = fails_at != 0 && (now == fails_at || (fails_on && now > fails_at));
  if (hit || fails_at == 0) (void)!::write(told, "x", 1);
  if (hit) errno = ENOMEM;
  return hit;
}

int counted_main(int argc, char** argv, char** environment) {
  if (const char* at = std::getenv("STARVE_AT")) {
    char* end = nullptr;
    fails_at = std::strtol(at, &end, 10);
    fails_on = *end == '+';
    told = ::open(std::getenv("STARVE_TELL"), O_WRONLY | O_APPEND | O_CLOEXEC);
    for (const char* name : {"LD_PRELOAD", "STARVE_AT", "STARVE_TELL"}) ::unsetenv(name);
    counting = true;
  }
  return real_main(argc, argv, environment);
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) { return fails() ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) {
  return fails() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* old, std::size_t size) { return fails() ? nullptr : __libc_realloc(old, size); }

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return fails() ? nullptr : __libc_memalign(alignment, size);
}

int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*loader_fini)(), void* stack_end) {
  using Start = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);
  real_main = main;
  const auto start = reinterpret_cast<Start>(::dlsym(RTLD_NEXT, "__libc_start_main"));
  return start(counted_main, argc, argv, init, fini, loader_fini, stack_end);
}

}  // extern "C"
