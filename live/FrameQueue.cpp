#include "live/FrameQueue.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/Clock.h"

namespace quorvid {

Frame makeFrame(h264::ByteView bytes, double arrival) {
  Frame frame;
  frame.arrival = arrival;
  frame.bytes.reserve(bytes.size() + 1);
  frame.bytes.push_back(0);
  frame.bytes.insert(frame.bytes.end(), bytes.begin(), bytes.end());
  frame.units = h264::unitsOf(frame.bytes);
  frame.isReference = false;
  for (const h264::Unit& unit : frame.units) {
    const bool isSet = unit.type == h264::UnitType::Sps || unit.type == h264::UnitType::KeySlice;
    const int refIdc = frame.bytes[unit.header] >> 5 & 3;
    frame.isKey = frame.isKey || isSet;
    frame.isReference = frame.isReference || refIdc != 0;
  }
  return frame;
}

void FrameQueue::push(Frame frame) {
  const std::lock_guard lock(mutex_);
  if (needsKey_ && !frame.isKey) {
    ++lost_;
    return;
  }
  needsKey_ = false;
  bytes_ += frame.bytes.size();
  frames_.push_back(std::move(frame));
  if (hidden_ && frames_.back().isKey) dropBefore(frames_.size() - 1);
  keepWithinBounds();
  changed_.notify_one();
}

// The group that doesn't fit is gone as a whole: its later frames refer to those dropped.
void FrameQueue::keepWithinBounds() {
  const auto fits = [this] {
    return frames_.empty() || (bytes_ <= kMostBytes &&
                               frames_.back().arrival - frames_.front().arrival <= kMostSeconds);
  };
  if (fits()) return;
  dropBefore(newestKey());
  if (fits()) return;
  needsKey_ = true;
  dropBefore(frames_.size());
}

std::optional<Frame> FrameQueue::take() {
  std::unique_lock lock(mutex_);
  for (bool isAfterLoss = false;;) {
    changed_.wait(lock, [this] { return closed_ || (!hidden_ && !frames_.empty()); });
    if (closed_) return std::nullopt;
    Frame frame = std::move(frames_.front());
    frames_.pop_front();
    bytes_ -= frame.bytes.size();
    frame.isToBeShown = unshown_ <= 1;
    frame.isAfterLoss = isAfterLoss;
    unshown_ -= std::min<std::size_t>(unshown_, 1);
    const bool isBehind = steadySeconds() - frame.arrival > kBehind && !frames_.empty();
    if (frame.isReference || frame.isKey || !isBehind || keepsAll_) return frame;
    ++lost_;
    isAfterLoss = isAfterLoss || frame.isToBeShown;
  }
}

void FrameQueue::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  changed_.notify_one();
}

void FrameQueue::setHidden(bool hidden) {
  const std::lock_guard lock(mutex_);
  if (hidden_ == hidden) return;
  hidden_ = hidden;
  if (!frames_.empty()) dropBefore(newestKey());
  unshown_ = hidden ? 0 : frames_.size();
  changed_.notify_one();
}

bool FrameQueue::comesWithin(double seconds) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::duration<double>(seconds),
                           [this] { return closed_ || !frames_.empty(); });
}

void FrameQueue::skipToNewestKey() {
  const std::lock_guard lock(mutex_);
  dropBefore(newestKey());
}

std::uint64_t FrameQueue::lost() const {
  const std::lock_guard lock(mutex_);
  return lost_;
}

// 0 when none waits: what is there continues what was taken before.
std::size_t FrameQueue::newestKey() const {
  for (std::size_t i = frames_.size(); i > 0; --i) {
    if (frames_[i - 1].isKey) return i - 1;
  }
  return 0;
}

void FrameQueue::dropBefore(std::size_t index) {
  for (std::size_t i = 0; i < index; ++i) {
    bytes_ -= frames_.front().bytes.size();
    frames_.pop_front();
  }
  lost_ += index;
  unshown_ -= std::min(unshown_, index);
}

}  // namespace quorvid
