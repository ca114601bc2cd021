// Rectangles in points: origin at the top left, x to the right, y down. Plain values, any thread.
#pragma once

#include "quorvid/base/Export.h"

namespace quorvid {

using CGFloat = double;

struct CGPoint {
  CGFloat x = 0, y = 0;
};

struct CGSize {
  CGFloat width = 0, height = 0;
};

struct CGRect {
  CGPoint origin;
  CGSize size;
};

inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  return CGRect{{x, y}, {width, height}};
}

// The largest rectangle of the aspect ratio's shape, centred inside bounds. An empty aspect ratio
// or empty bounds give an empty rectangle at the centre of bounds.
QUORVID_API CGRect AVMakeRectWithAspectRatioInsideRect(CGSize aspectRatio, CGRect bounds);

}  // namespace quorvid
