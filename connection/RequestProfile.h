// RequestProfile: the socket options that every request is sent under.
#pragma once

#include <cstdint>

namespace quorvid {

// Sets the options on a connected socket, where they stay in force for the stream that follows: no
// read or write waits longer than 10 s, and closing resets the connection at once. An option that
// the system refuses leaves the socket as it was.
void applyRequestProfile(std::int32_t socket);

}  // namespace quorvid
