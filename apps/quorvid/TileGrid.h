// tileFrames: where the tiles of several channels lie in a window. Plain logic.
#ifndef QUORVID_APPS_QUORVID_TILE_GRID_H
#define QUORVID_APPS_QUORVID_TILE_GRID_H

#include <cstddef>
#include <vector>

#include "quorvid/platform/Geometry.h"

namespace quorvid::app {

// `count` rectangles inside `area`, row by row, in the grid that shows 4:3 pictures largest; a thin
// gap lies between neighbours. Whole points only.
std::vector<CGRect> tileFrames(CGSize area, std::size_t count);

}  // namespace quorvid::app

#endif
