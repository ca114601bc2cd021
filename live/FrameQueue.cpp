#include "live/FrameQueue.h"

#include <algorithm>
#include <utility>

#include "base/Clock.h"

namespace quorvid {

namespace {

constexpr std::size_t kMostPlaces = 16;

// Bytes of memory. A server may send frames of one byte, or of nothing but start codes: what is
// known about them takes far more room than they do.
std::size_t costOf(const Frame& frame) {
  constexpr std::size_t kPlace = sizeof(Frame) + 64;  // in the list, and in its two vectors
  return frame.bytes.size() + frame.units.size() * sizeof(h264::Unit) + kPlace;
}

}  // namespace

Frame FrameQueue::blank(std::size_t size) {
  const std::lock_guard lock(mutex_);
  return spares_.take(size);
}

void FrameQueue::giveBack(Frame frame) {
  const std::lock_guard lock(mutex_);
  spares_.put(std::move(frame));
}

void FrameQueue::push(Frame frame) {
  const std::lock_guard lock(mutex_);
  if (needsKey_ && !frame.isKey) {
    ++lost_;
    spares_.put(std::move(frame));
    return;
  }
  if (places_.empty()) places_.emplace_back();  // first: it may throw
  needsKey_ = false;
  bytes_ += costOf(frame);
  places_.front() = std::move(frame);
  frames_.splice(frames_.end(), places_, places_.begin());
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
    changed_.wait(lock, [this] { return closed_ || hasErrand_ || (!hidden_ && !frames_.empty()); });
    if (closed_) return std::nullopt;
    if (std::exchange(hasErrand_, false)) {
      lock.unlock();
      errand_();
      lock.lock();
      continue;
    }
    Frame frame = takeFirst();
    frame.isToBeShown = unshown_ <= 1;
    frame.isAfterLoss = isAfterLoss;
    unshown_ -= std::min<std::size_t>(unshown_, 1);
    const bool isBehind = steadySeconds() - frame.arrival > kBehind && !frames_.empty();
    if (frame.isReference || frame.isKey || !isBehind || keepsAll_) return frame;
    ++lost_;
    isAfterLoss = isAfterLoss || frame.isToBeShown;
    spares_.put(std::move(frame));
  }
}

void FrameQueue::runErrand() {
  const std::lock_guard lock(mutex_);
  hasErrand_ = errand_ != nullptr;
  changed_.notify_one();
}

void FrameQueue::setErrand(std::function<void()> errand) {
  const std::lock_guard lock(mutex_);
  errand_ = std::move(errand);
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

bool FrameQueue::isEmpty() const {
  const std::lock_guard lock(mutex_);
  return frames_.empty();
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
  std::size_t index = frames_.size();
  for (auto frame = frames_.rbegin(); frame != frames_.rend(); ++frame) {
    --index;
    if (frame->isKey) return index;
  }
  return 0;
}

Frame FrameQueue::takeFirst() {
  Frame frame = std::move(frames_.front());
  bytes_ -= costOf(frame);
  if (places_.size() < kMostPlaces) {
    places_.splice(places_.begin(), frames_, frames_.begin());
  } else {
    frames_.pop_front();
  }
  return frame;
}

void FrameQueue::dropBefore(std::size_t index) {
  for (std::size_t i = 0; i < index; ++i) {
    spares_.put(takeFirst());
  }
  lost_ += index;
  unshown_ -= std::min(unshown_, index);
}

}  // namespace quorvid
