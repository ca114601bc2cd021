// tileFrames: where the tiles of several channels lie in a window. Plain logic.
#pragma once

#include <cstddef>
#include <vector>

#include "quorvid/base/Geometry.h"

namespace quorvid::app {

// `count` rectangles inside `area`, row by row, in the grid that shows 4:3 pictures largest; a thin
// gap lies between neighbours. Whole points only.
std::vector<CGRect> tileFrames(CGSize area, std::size_t count);

}  // namespace quorvid::app
