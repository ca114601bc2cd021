// ServerConnection: opening a TCP connection to a server.
#pragma once

#include <cstdint>

namespace quorvid {

// Connects to the first IPv4 address of host, at the low 16 bits of port; blocks as long as the
// system tries. Returns a close-on-exec descriptor above 0, the caller's to close, or -1 after a
// line on standard output. A null host counts as one that can't be resolved.
extern "C" std::int32_t ConnectToServer(const char* host, std::int32_t port);

}  // namespace quorvid
