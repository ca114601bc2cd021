#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "sim/media/Encoder.h"
#include "sim/media/PictureSource.h"

namespace quorvid::sim {

// A closed loop of frames that any number of clients play. It is encoded once, on one thread, and
// can be played from its first frame on while it grows. When a frame turns out too large for the
// wire, the loop starts anew at half the bit rate; players see that by its generation and go back
// to the first frame.
class MediaLoop {
 public:
  struct Look {
    std::shared_ptr<const EncodedFrame> frame;  // null: not there (yet)
    std::size_t index = 0;                      // of the frame, after wrapping
    unsigned generation = 0;
  };

  MediaLoop(EncoderSettings settings, std::size_t maxFrames)
      : settings_(settings), maxFrames_(maxFrames) {}

  // A whole loop that was encoded before.
  void take(std::vector<EncodedFrame> frames);
  // Encodes the loop; returns early when `stop` becomes true. Never throws: see failure().
  void encode(PictureSource& source, const std::atomic<bool>& stop);

  // The frame at `position`, which counts on over the loop's end. Any thread.
  Look look(std::size_t position) const;
  // All frames, once they are there; none before.
  std::vector<EncodedFrame> frames() const;
  // Number of frames, once all are there.
  std::optional<std::size_t> length() const;
  // Why there will be no more frames; empty while all is well.
  std::string failure() const;
  AVRational rate() const { return settings_.rate; }

 private:
  bool encodeOnce(PictureSource& source, EncoderSettings settings, const std::atomic<bool>& stop);
  bool publish(EncodedFrame frame);
  void startAnew();

  const EncoderSettings settings_;
  const std::size_t maxFrames_;
  // Guards all below: the encoding thread writes, the network thread reads.
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<const EncodedFrame>> frames_;
  bool complete_ = false;
  unsigned generation_ = 0;
  std::string failure_;
};

// One client's place in a loop.
class LoopCursor {
 public:
  explicit LoopCursor(std::shared_ptr<const MediaLoop> loop) : loop_(std::move(loop)) {}

  // The frame at the cursor, which moves on; null while it is not there yet.
  std::shared_ptr<const EncodedFrame> next();
  void moveTo(std::size_t position) { position_ = position; }
  const MediaLoop& loop() const { return *loop_; }

 private:
  std::shared_ptr<const MediaLoop> loop_;
  std::size_t position_ = 0;
  unsigned generation_ = 0;
};

}  // namespace quorvid::sim
