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
#include <functional>
#include <list>
#include <mutex>
#include <optional>

#include "live/Frame.h"

namespace quorvid {

class FrameQueue {
 public:
  static constexpr std::size_t kMostBytes = 8U << 20;
  static constexpr double kMostSeconds = 12;
  // A decoder whose oldest frame waits for longer is behind.
  static constexpr double kBehind = 0.2;

  // Memory for a frame of that many bytes, of one that was given back if there is any: see
  // makeFrame().
  Frame blank(std::size_t size);
  // Whoever has taken a frame is done with it.
  void giveBack(Frame frame);
  // Takes effect at once, whatever waits.
  void push(Frame frame);
  // Waits for a frame and takes it. Nothing once the queue is closed. Between frames it does the
  // errand, as often as runErrand() was called meanwhile, once for several.
  std::optional<Frame> take();
  void runErrand();
  // It runs without a lock.
  void setErrand(std::function<void()> errand);
  // A decoder that is behind is spared nothing, within the bounds. To be said before take().
  void keepAll() { keepsAll_ = true; }
  // Ends take(), now and later.
  void close();
  // Hidden: take() waits, and a key frame takes the place of all that waits. Then everything that
  // waits is to be decoded, and only the last to be shown.
  void setHidden(bool hidden);
  bool isEmpty() const;
  // What waits is late: the next frame taken is the newest key frame, if one waits.
  void skipToNewestKey();
  std::uint64_t lost() const;

 private:
  Frame takeFirst();
  void dropBefore(std::size_t index);
  std::size_t newestKey() const;
  void keepWithinBounds();

  mutable std::mutex mutex_;  // guards all that follows
  std::condition_variable changed_;
  std::list<Frame> frames_;
  std::list<Frame> places_;  // of frames that are gone
  SpareFrames spares_;
  std::size_t bytes_ = 0;
  std::uint64_t lost_ = 0;
  std::size_t unshown_ = 0;  // of the frames that wait, the first so many were hidden
  std::function<void()> errand_;
  bool hasErrand_ = false;
  bool needsKey_ = false;
  bool hidden_ = false;
  bool closed_ = false;
  bool keepsAll_ = false;
};

}  // namespace quorvid
