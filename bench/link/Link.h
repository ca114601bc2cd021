// Link: joins two TUN devices as badly as it is told to. One thread; POSIX, Linux.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "bench/link/Descriptor.h"
#include "bench/link/Lane.h"

namespace quorvid::bench {

class Link {
 public:
  // server, client: network namespaces, see makeTun().
  // @throws std::system_error with a sentence
  Link(const std::string& server, const std::string& client, std::uint64_t seed);

  // One of these, of both directions from now on:
  //   delay S | jitter S | loss SHARE | reorder SHARE | rate BITS | buffer BYTES | mtu BYTES
  //   down S          nothing passes for so long, nor what is under way
  //   reset client    what the client acknowledges is answered by a forged reset, until it opens
  //                   another connection: one that data overtakes is ignored
  //   reset server    the same behind what the client says, to the server
  // False for anything else.
  bool order(const std::string& line);
  // Passes packets on until `orders`, a descriptor with lines, ends.
  void run(int orders);

 private:
  enum Side : std::uint8_t { Server, Client };
  enum class Reset : std::uint8_t { None, OfServer, OfClient };

  bool setCondition(const std::string& name, double value);
  bool readOrders(int orders);
  void receive(Side from);
  void passOn(Side from, Packet packet, Clock::time_point now);
  void forgeReset(const Packet& packet);
  void send(Side to, const Packet& packet) const;
  void deliver(Clock::time_point now);
  void setTimer() const;

  std::array<Descriptor, 2> devices_;  // by side
  std::array<Lane, 2> lanes_;          // by the side that packets come from
  Descriptor timer_;
  Conditions conditions_;
  Clock::time_point downUntil_{};
  Reset reset_ = Reset::None;
  std::string unread_;  // the beginning of an order
};

}  // namespace quorvid::bench
