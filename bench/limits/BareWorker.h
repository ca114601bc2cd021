// BareWorker: what a worker of the connection room can't do without, as one loop: the same reads
// from the same kind of socket, the one copy into the slot, the printed line. It waits for no
// consumer and trusts its server.
#pragma once

#include <cstdint>
#include <string>

namespace quorvid::bench {

enum class Dialect : std::uint8_t { Fleet, Car };

// A slot for one frame, as VehicleConnection.h has it.
struct FrameSlot {
  std::uint8_t waits = 0;
  std::int32_t length = 0;
  std::uint8_t* bytes = nullptr;
};

// Blocks until the server ends the connection.
void runBareWorker(Dialect dialect, int port, FrameSlot& slot);

}  // namespace quorvid::bench
