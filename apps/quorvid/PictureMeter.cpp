#include "apps/quorvid/PictureMeter.h"

#include <algorithm>

namespace quorvid::app {

void PictureMeter::pictureShown(double now, PixelSize size) {
  if (pictures_ == 0) {
    first_ = now;
  } else {
    longestPause_ = std::max(longestPause_, now - last_);
  }
  last_ = now;
  pictureSize_ = size;
  ++pictures_;
}

std::optional<double> PictureMeter::timeToFirstPicture() const {
  if (pictures_ == 0) {
    return std::nullopt;
  }
  return first_ - start_;
}

double PictureMeter::picturesPerSecond() const {
  const double span = last_ - first_;
  return span > 0 ? static_cast<double>(pictures_ - 1) / span : 0;
}

}  // namespace quorvid::app
