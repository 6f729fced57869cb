#include "base/notice.h"

#include <unistd.h>

#include <utility>

namespace qv {

std::optional<Notice> Notice::open() {
  auto pipe = process::open_pipe();
  if (!pipe) return std::nullopt;
  process::make_nonblocking(pipe->read.get());
  process::make_nonblocking(pipe->write.get());
  return Notice(std::move(*pipe));
}

void Notice::give() const { (void)!::write(giver(), "", 1); }

void Notice::take() const {
  char bytes[64];
  while (::read(descriptor(), bytes, sizeof bytes) > 0) {
  }
}

}  // namespace qv
