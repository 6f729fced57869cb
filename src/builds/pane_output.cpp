// A reader that goes away is no fault: `| head` does, and the tool is to meet the broken pipe
// itself. A disk that is full is one, and nobody else would say so: the tool wrote to a pipe that
// took everything.

#include "builds/pane_output.h"

#include <cerrno>
#include <new>

#include "base/io.h"
#include "builds/messages.h"

namespace qv::build {

void PaneOutput::show(int stream, std::string_view bytes) {
  if (gone_[stream - 1] || unwritable_[stream - 1] || io::write_all(stream, bytes)) return;
  if (errno == EPIPE || errno == ECONNRESET) {
    gone_[stream - 1] = true;
    return;
  }
  unwritable_[stream - 1] = true;
  lose(errno);
}

void PaneOutput::lose(int error) {
  if (lost_.exchange(true)) return;
  try {
    messages::tell(messages::could_not_be_written(error));
  } catch (const std::bad_alloc&) {  // the status says it still
  }
}

}  // namespace qv::build
