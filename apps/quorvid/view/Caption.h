// captionOf: the line of text on a tile. Plain values in, text out.
#pragma once

#include <string>

#include "apps/quorvid/view/TileReport.h"

namespace quorvid::app {

// Device and channel; then rates and lag of a live stream, or what it does and why. UTF-8.
std::string captionOf(const TileReport& tile);

}  // namespace quorvid::app
