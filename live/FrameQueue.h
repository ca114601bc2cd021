// FrameQueue: what a stream has brought and its decoder has not taken yet. One thread pushes, one
// takes, any other closes or hides.
//
// The loss it accepts: where more than the bounds would wait, everything up to the newest key frame
// goes, and everything where there is none, up to the next one that comes. A decoder that is behind
// is spared the frames that no other refers to. No frame is ever left out of the middle of a group
// otherwise: what is taken can be decoded.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "h264/Units.h"

namespace quorvid {

struct Frame {
  h264::Bytes bytes;  // Annex B, behind one more zero, so that each unit has 4 bytes in front
  std::vector<h264::Unit> units;  // of bytes
  double arrival = 0;             // seconds, steady clock
  std::uint64_t number = 0;       // of those that the session received, from 1
  bool isKey = false;             // brings parameter sets or an IDR picture
  bool isReference = true;        // others may refer to it
  bool isToBeShown = true;        // false: a newer one, which waits already, will be
  bool isAfterLoss = false;  // one to be shown before it was spared the decoder, which is behind
};

// bytes: Annex B.
Frame makeFrame(h264::ByteView bytes, double arrival);

class FrameQueue {
 public:
  static constexpr std::size_t kMostBytes = 8U << 20;
  static constexpr double kMostSeconds = 12;
  // A decoder whose oldest frame waits for longer is behind.
  static constexpr double kBehind = 0.2;

  // Takes effect at once, whatever waits.
  void push(Frame frame);
  // Waits for a frame and takes it. Nothing once the queue is closed.
  std::optional<Frame> take();
  // A decoder that is behind is spared nothing, within the bounds. To be said before take().
  void keepAll() { keepsAll_ = true; }
  // Ends take(), now and later.
  void close();
  // Hidden: take() waits, and a key frame takes the place of all that waits. Then everything that
  // waits is to be decoded, and only the last to be shown.
  void setHidden(bool hidden);
  // True when a frame waits, or does so within that time, or none is wanted any more.
  bool comesWithin(double seconds);
  // What waits is late: the next frame taken is the newest key frame, if one waits.
  void skipToNewestKey();
  std::uint64_t lost() const;

 private:
  void dropBefore(std::size_t index);
  std::size_t newestKey() const;
  void keepWithinBounds();

  mutable std::mutex mutex_;  // guards all that follows
  std::condition_variable changed_;
  std::deque<Frame> frames_;
  std::size_t bytes_ = 0;
  std::uint64_t lost_ = 0;
  std::size_t unshown_ = 0;  // of the frames that wait, the first so many were hidden
  bool needsKey_ = false;
  bool hidden_ = false;
  bool closed_ = false;
  bool keepsAll_ = false;
};

}  // namespace quorvid
