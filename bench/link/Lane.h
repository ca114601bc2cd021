// Lane: one direction of the link. Takes packets at one end, and hands them out at the other when
// they are due. Plain logic, one thread; the caller tells the time.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <random>

#include "bench/link/Packet.h"

namespace quorvid::bench {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

// How both directions are. A number that is 0 changes nothing.
struct Conditions {
  double delay = 0;        // seconds
  double jitter = 0;       // seconds more or less than the delay; the order stays
  double loss = 0;         // the share of packets that are lost
  double reorder = 0;      // the share of packets that come `kHeldBack` late, after their followers
  double rate = 0;         // bits a second
  std::size_t buffer = 0;  // bytes that wait for the rate; what comes on top is lost. 0: 64 KiB
  std::size_t mtu = 0;     // bytes
};

class Lane {
 public:
  static constexpr std::chrono::milliseconds kHeldBack{30};

  explicit Lane(std::uint64_t seed) : random_(seed) {}

  void push(Packet packet, const Conditions& conditions, Clock::time_point now);
  // The next packet that is due.
  std::optional<Packet> take(Clock::time_point now);
  // When there is something to take; nothing: never.
  std::optional<Clock::time_point> next() const;
  void clear() { waiting_.clear(); }

 private:
  bool happens(double share) { return std::bernoulli_distribution(share)(random_); }

  std::mt19937_64 random_;
  std::multimap<Clock::time_point, Packet> waiting_;
  Clock::time_point sentUntil_{};  // the last packet's last bit has left then
  Clock::time_point last_{};       // when the last packet comes
};

}  // namespace quorvid::bench
