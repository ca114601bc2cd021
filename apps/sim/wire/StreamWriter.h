#pragma once

#include "sim/Faults.h"
#include "sim/wire/Bytes.h"

namespace quorvid::sim {

struct OutgoingFrame {
  ByteView payload;
  bool key = false;
  std::uint32_t number = 0;  // from 1, counted over every frame of the connection
};

// Frames a stream the way its service does, as docs/protocol.md draws it. One object for each
// connection.
class StreamWriter {
 public:
  // `faults` outlives the object.
  StreamWriter(Service service, const ConnectionFaults& faults)
      : fleet_(service == Service::Fleet), faults_(faults) {}

  // What precedes the first frame; status 0 means that frames follow. The car stream has nothing.
  Bytes opening(std::int32_t status) const;
  Bytes frame(const OutgoingFrame& frame);
  // A packet of sound; empty in the car stream.
  Bytes sound(std::size_t samples);

 private:
  Bytes packet(char kind, ByteView whole);
  // What is sent as the payload of the frame under way, and the length that its header states.
  ByteView resized(ByteView payload, Bytes& filled) const;
  std::int64_t statedLength(std::size_t length) const;

  const bool fleet_;
  const ConnectionFaults& faults_;
  std::uint32_t sent_ = 0;  // packets or frames, with the one under way
};

}  // namespace quorvid::sim
