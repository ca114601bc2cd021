#include "apps/quorvid/view/PictureMeter.h"

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
  if (pictures_ == 0) return std::nullopt;
  return first_ - start_;
}

double PictureMeter::picturesPerSecond(double now) const {
  const double span = now - first_;
  return pictures_ > 1 && span > 0 ? static_cast<double>(pictures_ - 1) / span : 0;
}

double PictureMeter::longestPause(double now) const {
  return std::max(longestPause_, silence(now));
}

}  // namespace quorvid::app
