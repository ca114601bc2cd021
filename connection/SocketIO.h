// SocketIO: the two ways of writing that never raise SIGPIPE. readn and writen are public.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace quorvid {

// One write() as far as the result goes, on any kind of descriptor, but without the signal.
ssize_t writeOnce(std::int32_t fd, const void* data, std::size_t size);

}  // namespace quorvid
