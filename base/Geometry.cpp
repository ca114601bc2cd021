#include "quorvid/base/Geometry.h"

#include <algorithm>

namespace quorvid {
namespace {

bool isEmpty(CGSize size) {
  return !(size.width > 0) || !(size.height > 0);
}

}  // namespace

CGRect AVMakeRectWithAspectRatioInsideRect(CGSize aspectRatio, CGRect bounds) {
  CGSize fitted;
  if (!isEmpty(aspectRatio) && !isEmpty(bounds.size)) {
    const CGFloat scale =
        std::min(bounds.size.width / aspectRatio.width, bounds.size.height / aspectRatio.height);
    // Rounding must not push the fitted side beyond the bounds.
    fitted.width = std::min(aspectRatio.width * scale, bounds.size.width);
    fitted.height = std::min(aspectRatio.height * scale, bounds.size.height);
  }
  return CGRectMake(bounds.origin.x + (bounds.size.width - fitted.width) / 2,
                    bounds.origin.y + (bounds.size.height - fitted.height) / 2, fitted.width,
                    fitted.height);
}

}  // namespace quorvid
