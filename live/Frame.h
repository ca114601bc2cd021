// Frame: what a stream brings at a time, one picture as a rule. SpareFrames: the memory of frames
// that are done with, for those to come.
#pragma once

#include <cstdint>
#include <vector>

#include "h264/Units.h"

namespace quorvid {

struct Frame {
  h264::Bytes bytes;  // Annex B, behind one more zero, so that each unit has 4 bytes in front
  std::vector<h264::Unit> units;  // of bytes
  double arrival = 0;             // seconds, steady clock
  std::uint64_t number = 0;       // of those that the session received, from 1
  std::uint64_t connection = 0;   // on which it came, counted up in the session
  bool isKey = false;             // brings parameter sets or an IDR picture
  bool isReference = true;        // others may refer to it
  bool isToBeShown = true;        // false: a newer one, which waits already, will be
  bool isAfterLoss = false;  // one to be shown before it was spared the decoder, which is behind
  bool continues = false;    // nothing is missing since the one handed out before; undecoded
};

// bytes: Annex B. memory: of a frame that is done with.
Frame makeFrame(h264::ByteView bytes, double arrival, Frame memory = {});

// One thread at a time.
class SpareFrames {
 public:
  static constexpr std::size_t kMostBytes = 512U << 10;
  static constexpr std::size_t kMost = 16;

  SpareFrames() { frames_.reserve(kMost); }
  // For makeFrame() of that many bytes. Never more than twice as much room as the frame needs:
  // where frames wait, the room counts.
  Frame take(std::size_t size);
  // Those that came first go where that would be too many, or too large together.
  void put(Frame frame);

 private:
  std::vector<Frame> frames_;
  std::size_t bytes_ = 0;
};

}  // namespace quorvid
