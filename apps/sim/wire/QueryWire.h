#pragma once

#include <array>
#include <string>
#include <variant>

#include "sim/net/ConnectionFaults.h"
#include "sim/wire/StreamDialect.h"

namespace quorvid::sim {

constexpr std::size_t kQueryRequestBytes = 500;
constexpr std::size_t kReplyHeaderBytes = 124;
constexpr std::size_t kRecordBytes = 280;

struct ListOrder {
  std::string account;
};

std::variant<ListOrder, Refusal> parseListRequest(ByteView request);
std::variant<StreamOrder, Refusal> parseRelayRequest(ByteView request);

// A reply, and how many of its bytes go out (all of them, but for a fault).
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
