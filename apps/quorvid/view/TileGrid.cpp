#include "apps/quorvid/view/TileGrid.h"

#include <algorithm>
#include <cmath>

namespace quorvid::app {

namespace {

constexpr CGFloat kGap = 2;

std::size_t bestColumnCount(CGSize area, std::size_t count) {
  std::size_t best = 1;
  CGFloat bestWidth = 0;
  for (std::size_t columns = 1; columns <= count; ++columns) {
    const std::size_t rows = (count + columns - 1) / columns;
    const CGFloat width = area.width / static_cast<CGFloat>(columns);
    const CGFloat height = area.height / static_cast<CGFloat>(rows);
    const CGFloat pictureWidth = std::min(width, height * 4 / 3);
    if (pictureWidth > bestWidth) {
      bestWidth = pictureWidth;
      best = columns;
    }
  }
  return best;
}

// Edge number `index` of `parts` equal parts of `length`.
CGFloat edge(CGFloat length, std::size_t parts, std::size_t index) {
  return std::floor(length * static_cast<CGFloat>(index) / static_cast<CGFloat>(parts));
}

}  // namespace

std::vector<CGRect> tileFrames(CGSize area, std::size_t count) {
  std::vector<CGRect> frames;
  if (count == 0) return frames;
  const std::size_t columns = bestColumnCount(area, count);
  const std::size_t rows = (count + columns - 1) / columns;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t column = i % columns;
    const std::size_t row = i / columns;
    const CGFloat left = edge(area.width, columns, column);
    const CGFloat top = edge(area.height, rows, row);
    const CGFloat right = edge(area.width, columns, column + 1) - (column + 1 < columns ? kGap : 0);
    const CGFloat bottom = edge(area.height, rows, row + 1) - (row + 1 < rows ? kGap : 0);
    frames.push_back(CGRectMake(left, top, std::max<CGFloat>(1, right - left),
                                std::max<CGFloat>(1, bottom - top)));
  }
  return frames;
}

}  // namespace quorvid::app
