#pragma once

#include "sim/media/Av.h"

namespace quorvid::sim {

// Pictures for one loop, in order, at one size and rate. Used by one thread at a time.
class PictureSource {
 public:
  virtual ~PictureSource() = default;

  // The next picture (planar 4:2:0, video range), borrowed until the next call; null at the end.
  virtual AVFrame* next() = 0;
  // Starts again from the first picture.
  virtual void rewind() = 0;
  virtual AVRational rate() const = 0;
};

}  // namespace quorvid::sim
