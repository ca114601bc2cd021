#pragma once

#include <array>

#include "sim/Options.h"
#include "sim/wire/Bytes.h"

namespace quorvid::sim {

// A reply to a query, laid out as docs/protocol.md draws it, and how many of its bytes go out (all
// of them, but for a fault).
struct Reply {
  Bytes bytes;
  std::size_t end = 0;    // the connection is ended after so many bytes
  std::size_t split = 0;  // a pause is made before this byte; 0: none
};

// The device list. Positions depend on `poll` alone, so that a poller sees devices move.
Reply listReply(const Options& options, unsigned poll, ConnectionFaults& faults);

// Where the relay is: an IPv4 address, first part first, and a port.
Reply relayReply(const Options& options, const std::array<std::uint8_t, 4>& address, int port,
                 ConnectionFaults& faults);

}  // namespace quorvid::sim
