// PacketServer: sends packets of a fleet or car stream to whoever connects. One thread; it trusts
// its clients.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bench/limits/BareWorker.h"

namespace quorvid::bench {

// A packet with a payload of that size, the number in its first 4 bytes. A car packet's frameSeq is
// the number, too.
std::vector<std::uint8_t> packetOf(Dialect dialect, std::size_t payload, std::uint32_t number);

class PacketServer {
 public:
  // Listens. @throws std::runtime_error
  PacketServer();
  ~PacketServer();
  PacketServer(const PacketServer&) = delete;
  PacketServer& operator=(const PacketServer&) = delete;

  int port() const { return port_; }
  // Waits for a client, takes its request and says that a stream follows.
  int accept(Dialect dialect) const;
  // All of it. False when the client has gone.
  static bool send(int client, const std::vector<std::uint8_t>& packet);

 private:
  int listener_ = -1;
  int port_ = 0;
};

}  // namespace quorvid::bench
