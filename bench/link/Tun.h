// A network device whose far end is a descriptor: what is written there arrives as an IPv4 packet
// at the device, and what is sent through the device is read from it, a packet a call.
#pragma once

#include <string>

#include "bench/link/Descriptor.h"

namespace quorvid::bench {

// Makes the device `quorvid0` in the network namespace of a process; it has no address and is down.
// It goes with the descriptor, whose reads and writes don't wait.
// @param space "/proc/PID/ns/net"
// @throws std::system_error with a sentence
Descriptor makeTun(const std::string& space);

}  // namespace quorvid::bench
