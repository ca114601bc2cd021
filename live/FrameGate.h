// FrameGate: which frames of a stream are handed out undecoded: those of each connection from the
// first parameter sets on, so that whoever takes them can begin. One thread.
#pragma once

#include <cstdint>

#include "live/FrameQueue.h"
#include "live/Picture.h"

namespace quorvid {

class FrameGate {
 public:
  enum class Outcome : std::uint8_t { Passes, NoSets, UnreadableSets };

  // frame: the next one, of its connection or of a later one. Says in it whether it continues the
  // one that passed last.
  Outcome take(Frame& frame);
  // As the last parameter set that passed states it.
  const StreamShape& shape() const { return shape_; }

 private:
  Outcome gate_ = Outcome::NoSets;
  std::uint64_t connection_ = 0, number_ = 0;  // of the frame that passed last
  StreamShape shape_;
};

}  // namespace quorvid
