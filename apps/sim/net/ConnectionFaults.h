#pragma once

#include <random>

#include "sim/Options.h"
#include "sim/wire/Bytes.h"

namespace quorvid::sim {

// The faults of one connection, and its random bytes.
class ConnectionFaults {
 public:
  ConnectionFaults(const Options& options, Service service, unsigned number)
      : plan_(options.faults),
        service_(service),
        active_(options.faultTimes == 0 || number <= static_cast<unsigned>(options.faultTimes)),
        // Every connection has its own sequence; it does not depend on what other connections do.
        random_(options.seed * 1'000'003 + static_cast<unsigned>(service) * 100'000 + number) {}

  std::optional<std::int64_t> find(FaultKind kind) const {
    return active_ ? plan_.find(service_, kind) : std::nullopt;
  }
  bool hits(FaultKind kind, std::uint32_t number) const {
    return find(kind) == std::int64_t{number};
  }

  Bytes randomBytes(std::size_t count) {
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_() >> 24);
    return bytes;
  }

 private:
  const FaultPlan& plan_;
  Service service_;
  bool active_;
  std::mt19937_64 random_;
};

}  // namespace quorvid::sim
