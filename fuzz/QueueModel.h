// QueueModel: drives a FrameQueue by itself and holds it to what FrameQueue.h promises: the bounds,
// the count of what is lost, and that what is taken can be decoded.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Clock.h"
#include "fuzz/Records.h"
#include "live/FrameQueue.h"

namespace quorvid::fuzz {

class QueueModel {
 public:
  // isLate: the decoder is behind with every frame.
  explicit QueueModel(bool isLate) : now_(steadySeconds() + (isLate ? -1e5 : 1e5)) {}

  // Frames come, with a pause between two; some are taken, or all that wait; the view is hidden or
  // shown again; what waits is late.
  void take(const Record& record) {
    const auto argument = [&](std::size_t i) {
      return i < record.bytes.size() ? record.bytes[i] : std::uint8_t{0};
    };
    switch (record.kind % 8) {
      case 0:
        queue_.setHidden(hidden_ = !hidden_);
        break;
      case 1:
        queue_.skipToNewestKey();
        break;
      case 2:
        for (int count = argument(0); count > 0 && canTake(); --count) takeOne();
        break;
      case 3:
        takeAll();
        break;
      default:
        for (int count = argument(0) % 64; count >= 0; --count) {
          push(argument(1), argument(2) * std::size_t{512});
          now_ += argument(3) / 16.0;
        }
    }
    require(taken_ + queue_.lost() <= isNeeded_.size());
  }

 private:
  bool canTake() const { return !hidden_ && taken_ + queue_.lost() < isNeeded_.size(); }

  void push(std::uint8_t header, std::size_t size) {
    Bytes bytes{0, 0, 1, header};
    if (pushed_ < kMostPushed) bytes.resize(bytes.size() + size, 0xFF);
    pushed_ += size;
    Frame frame = makeFrame(bytes, now_, queue_.blank(bytes.size()));
    isNeeded_.push_back(frame.isKey || frame.isReference);
    frame.number = isNeeded_.size();
    queue_.push(std::move(frame));
  }

  Frame takeOne() {
    Frame frame = *queue_.take();
    ++taken_;
    // Nothing that it may refer to is missing.
    for (auto between = last_ + 1; between < frame.number && !frame.isKey; ++between) {
      require(!isNeeded_[between - 1]);
    }
    require(frame.number > last_);
    last_ = frame.number;
    return frame;
  }

  void takeAll() {
    std::size_t bytes = 0;
    double first = -1, last = -1;
    while (canTake()) {
      Frame frame = takeOne();
      bytes += frame.bytes.size() + frame.units.size() * sizeof(h264::Unit) + sizeof frame;
      last = frame.arrival;
      if (first == -1) first = last;
      queue_.giveBack(std::move(frame));
    }
    require(bytes <= FrameQueue::kMostBytes && last - first <= FrameQueue::kMostSeconds);
  }

  // Enough to go beyond the bound; more only takes time.
  static constexpr std::size_t kMostPushed = 2 * FrameQueue::kMostBytes;

  FrameQueue queue_;
  std::size_t pushed_ = 0;
  double now_;
  bool hidden_ = false;
  std::uint64_t taken_ = 0, last_ = 0;  // how many, and the number of the last
  std::vector<bool> isNeeded_;          // of each that came: others may refer to it
};

}  // namespace quorvid::fuzz
