#pragma once

#include "base/descriptor.h"

// Unix-domain stream sockets that never raise SIGPIPE.
namespace qv::platform {

// A new socket, close-on-exec and deaf to broken connections; not valid on failure.
[[nodiscard]] Descriptor open_stream_socket();

// The flags every send() on such a socket has to pass.
[[nodiscard]] int send_flags();

}  // namespace qv::platform
