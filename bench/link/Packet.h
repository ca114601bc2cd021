// IPv4 packets as the link sees them, and those that it makes itself: forged resets, and the answer
// to a packet that is too long. Big-endian; what a packet says of its own lengths is not believed
// before it was checked.
//
//   IPv4  0 version, header length | 2 length | 6 flags | 9 protocol | 10 checksum | 12 from | 16
//   to TCP   0 from port | 2 to port | 4 sequence | 8 acknowledged | 12 header length | 13 flags |
//         14 window | 16 checksum
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvid::bench {

using Packet = std::vector<std::uint8_t>;

// What a TCP segment says; nothing for another packet.
struct Segment {
  std::uint32_t from = 0, to = 0;
  std::uint16_t fromPort = 0, toPort = 0;
  std::uint32_t next = 0;          // sequence number of what its sender says next
  std::uint32_t acknowledged = 0;  // that its sender expects next
  bool isFirst = false;            // begins a connection
  bool isOfConnection = false;     // neither begins nor resets one
};
std::optional<Segment> segmentOf(const Packet& packet);

// What resets a connection, as if the peer of `segment`'s sender had sent it: its sequence number
// is the very one that the sender waits for, others are ignored.
Packet resetFor(const Segment& segment);

// As if its receiver's side had reset it: goes on to where `segment` goes.
Packet resetBehind(const Segment& segment);

// Must not be cut in pieces on its way.
bool isWhole(const Packet& packet);
// The ICMP message "too long, this is the MTU", to the sender.
Packet tooLong(const Packet& packet, std::size_t mtu);

}  // namespace quorvid::bench
