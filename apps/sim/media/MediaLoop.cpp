#include "sim/media/MediaLoop.h"

#include <fmt/format.h>

#include "sim/Error.h"

namespace quorvid::sim {
namespace {

constexpr std::int64_t kLowestBitrate = 50'000;

}  // namespace

void MediaLoop::take(std::vector<EncodedFrame> frames) {
  for (EncodedFrame& frame : frames) publish(std::move(frame));
  const std::lock_guard lock(mutex_);
  complete_ = true;
}

void MediaLoop::encode(PictureSource& source, const std::atomic<bool>& stop) {
  try {
    EncoderSettings settings = settings_;
    settings.bitrate = effectiveBitrate(settings);
    while (!encodeOnce(source, settings, stop)) {
      settings.bitrate /= 2;
      if (settings.bitrate < kLowestBitrate) {
        throw SimError(fmt::format("a frame is larger than {} bytes even at the lowest bit rate",
                                   kMaxFrameBytes));
      }
      startAnew();
      source.rewind();
    }
  } catch (const std::exception& error) {
    const std::lock_guard lock(mutex_);
    failure_ = error.what();
  }
}

// @return false when a frame was too large for the wire
bool MediaLoop::encodeOnce(PictureSource& source, EncoderSettings settings,
                           const std::atomic<bool>& stop) {
  auto encoder = std::make_unique<Encoder>(settings);
  for (std::size_t i = 0; i < maxFrames_ && !stop; ++i) {
    AVFrame* picture = source.next();
    if (picture == nullptr) break;
    if (picture->width != settings.width || picture->height != settings.height) {
      settings.width = picture->width;
      settings.height = picture->height;
      encoder = std::make_unique<Encoder>(settings);
    }
    if (!publish(encoder->encode(*picture))) return false;
  }
  const std::lock_guard lock(mutex_);
  complete_ = true;
  if (frames_.empty()) throw SimError("the source has no pictures");
  return true;
}

bool MediaLoop::publish(EncodedFrame frame) {
  if (frame.bytes.size() > kMaxFrameBytes) return false;
  const std::lock_guard lock(mutex_);
  frame.number = frames_.size();
  frames_.push_back(std::make_shared<const EncodedFrame>(std::move(frame)));
  return true;
}

void MediaLoop::startAnew() {
  const std::lock_guard lock(mutex_);
  frames_.clear();
  ++generation_;
}

MediaLoop::Look MediaLoop::look(std::size_t position) const {
  const std::lock_guard lock(mutex_);
  Look look;
  look.generation = generation_;
  look.index = complete_ && !frames_.empty() ? position % frames_.size() : position;
  if (look.index < frames_.size()) look.frame = frames_[look.index];
  return look;
}

std::optional<std::size_t> MediaLoop::length() const {
  const std::lock_guard lock(mutex_);
  return complete_ ? std::optional(frames_.size()) : std::nullopt;
}

std::vector<EncodedFrame> MediaLoop::frames() const {
  const std::lock_guard lock(mutex_);
  std::vector<EncodedFrame> all;
  if (complete_) {
    for (const auto& frame : frames_) all.push_back(*frame);
  }
  return all;
}

std::string MediaLoop::failure() const {
  const std::lock_guard lock(mutex_);
  return failure_;
}

std::shared_ptr<const EncodedFrame> LoopCursor::next() {
  MediaLoop::Look look = loop_->look(position_);
  if (look.generation != generation_) {
    generation_ = look.generation;
    position_ = 0;
    look = loop_->look(position_);
  }
  if (look.frame) position_ = look.index + 1;
  return std::move(look.frame);
}

}  // namespace quorvid::sim
