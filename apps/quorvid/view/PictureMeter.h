// PictureMeter: counts the pictures of one stream and remembers when they came. Plain logic, one
// thread; times are seconds of the steady clock.
#pragma once

#include <cstdint>
#include <optional>

#include "apps/common/Target.h"

namespace quorvid::app {

class PictureMeter {
 public:
  explicit PictureMeter(double start) : start_(start) {}

  // size: of the decoded picture.
  void pictureShown(double now, PixelSize size);
  // What the stream's own parameter set says; the decoder scales every picture to one size.
  void setStreamSize(PixelSize size) { streamSize_ = size; }

  std::uint64_t pictures() const { return pictures_; }
  PixelSize pictureSize() const { return pictureSize_; }
  const std::optional<PixelSize>& streamSize() const { return streamSize_; }
  // Seconds from the start to the first picture.
  std::optional<double> timeToFirstPicture() const;
  // Seconds since the last picture, or since the start.
  double silence(double now) const { return now - (pictures_ > 0 ? last_ : start_); }
  // From the first picture to now, pauses included; 0 below two pictures.
  double picturesPerSecond(double now) const;
  // The longest time without a picture after the first (or the start), in seconds.
  double longestPause(double now) const;

 private:
  double start_;
  double first_ = 0;
  double last_ = 0;
  double longestPause_ = 0;
  std::uint64_t pictures_ = 0;
  PixelSize pictureSize_;
  std::optional<PixelSize> streamSize_;
};

}  // namespace quorvid::app
